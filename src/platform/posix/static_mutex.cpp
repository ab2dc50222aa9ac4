#include "platform/static_mutex.h"

#include <atomic>

namespace qmio::platform {

void StaticMutex::lock() {
    const std::atomic_ref<void*> state(state_);
    for (void* found = nullptr; !state.compare_exchange_weak(found, this, std::memory_order_acquire); found = nullptr)
        state.wait(this, std::memory_order_relaxed);
}

void StaticMutex::unlock() {
    const std::atomic_ref<void*> state(state_);
    state.store(nullptr, std::memory_order_release);
    state.notify_one();
}

}  // namespace qmio::platform
