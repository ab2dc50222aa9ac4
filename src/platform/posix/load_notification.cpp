// Destructors run both when the library is unloaded and when the process ends. What tells one from the other is the order:
// unloading calls a library's destructor functions before the destructors of its globals, the end of a process calls those
// of all globals before any destructor function. A library that came with the program makes an exception, as the C
// library is not at work yet when its globals are made; but such a library is never unloaded.
#include "platform/load_notification.h"

#include <dlfcn.h>

#include <utility>

#include "platform/posix/library_of.h"

namespace qmio::platform {
namespace {

constinit LoadNotification::Routine detach_routine = nullptr;  // null once nothing is to be taken down any more

__attribute__((destructor)) void unloading() {
    if (const auto detach = std::exchange(detach_routine, nullptr))
        detach();
}

// The program's search finds what came with it; the system adds what is loaded later after its constructors, if at all.
bool came_with_program(const char* exported) {
    void* const program = ::dlopen(nullptr, RTLD_LAZY);
    if (program == nullptr)
        return false;
    const void* const found = ::dlsym(program, exported);
    ::dlclose(program);
    return found != nullptr && is_of_this_library(found);
}

}  // namespace

LoadNotification::LoadNotification(Routine attach, Routine detach, const char* exported) {
    if (!came_with_program(exported))
        detach_routine = detach;
    attach();
}

// The process ends, unless the library has just been detached. From here on a host that gives the library back does not
// get rid of its code either.
LoadNotification::~LoadNotification() {
    if (std::exchange(detach_routine, nullptr) != nullptr)
        keep_library_of(&detach_routine);
}

}  // namespace qmio::platform
