// A process-wide value that exists before the first constructor runs and after the last destructor.
#pragma once

namespace qmio::platform {

// The load and unload notifications run in no particular order with the constructors and destructors of globals, so
// the library's own globals have neither: they start constant-initialised, and unloading empties them by assignment.
template <class T>
union NeverDestroyed {
    T value;

    constexpr NeverDestroyed() : value() {}
    ~NeverDestroyed() {}
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;
};

}  // namespace qmio::platform
