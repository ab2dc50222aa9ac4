// The loader's notice that this library, or a program that it is linked into, comes and goes.
#pragma once

namespace qmio::platform {

// The library has one global of this type. Both routines run under the loader's lock: no thread may be waited for, and
// what they touch must need no constructor or destructor (platform/never_destroyed.h).
class LoadNotification {
  public:
    using Routine = void (*)();

    // `attach` runs at once, which is before any other entry point is called, and `detach` before the code leaves.
    LoadNotification(Routine attach, Routine detach);
};

}  // namespace qmio::platform
