// The loader's notice that this library, or a program that it is linked into, comes and goes.
#pragma once

namespace qmio::platform {

// The library has one global of this type. Both routines run under the loader's lock: no thread may be waited for, and
// what they touch must need no constructor or destructor (platform/never_destroyed.h).
class LoadNotification {
  public:
    using Routine = void (*)();

    // `attach` runs at once, which is before any other entry point is called. `detach` runs before the library's code
    // leaves a process that goes on. When the process ends it does not: other threads may be inside the library, the
    // code stays to the last, and the system takes everything back by itself.
    // `exported` is the name of any function that the library exports.
    LoadNotification(Routine attach, Routine detach, const char* exported);
    LoadNotification(const LoadNotification&) = delete;
    LoadNotification& operator=(const LoadNotification&) = delete;
    ~LoadNotification();
};

}  // namespace qmio::platform
