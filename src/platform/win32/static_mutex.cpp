#include "platform/static_mutex.h"

#include "platform/win32/windows.h"

namespace qmio::platform {
namespace {

static_assert(sizeof(SRWLOCK) == sizeof(void*), "the system's lock is one pointer, null when free");

SRWLOCK* system_lock(void*& state) {
    return reinterpret_cast<SRWLOCK*>(&state);
}

}  // namespace

void StaticMutex::lock() {
    ::AcquireSRWLockExclusive(system_lock(state_));
}

void StaticMutex::unlock() {
    ::ReleaseSRWLockExclusive(system_lock(state_));
}

}  // namespace qmio::platform
