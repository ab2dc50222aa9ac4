#include "platform/load_notification.h"

#include "platform/win32/windows.h"

namespace {

constinit qmio::platform::LoadNotification::Routine detach_routine = nullptr;

}  // namespace

// A program's own image gets no notice; there the constructor is all, and nothing has to be taken down.
extern "C" BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, LPVOID process_ends) {
    // When the whole process ends, the other threads are dead already, perhaps while they held the heap's locks; the
    // system takes everything back by itself.
    if (reason == DLL_PROCESS_DETACH && process_ends == nullptr)
        detach_routine();
    return TRUE;
}

namespace qmio::platform {

// The constructors of a library run before its notice of having been loaded, under the same lock.
LoadNotification::LoadNotification(Routine attach, Routine detach, const char* /*exported*/) {
    detach_routine = detach;
    attach();
}

LoadNotification::~LoadNotification() = default;

}  // namespace qmio::platform
