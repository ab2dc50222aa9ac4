#include "platform/thread_block.h"

#include <cstdlib>

#include "platform/win32/windows.h"

namespace qmio::platform {
namespace {

constinit DWORD slot = FLS_OUT_OF_INDEXES;

void WINAPI free_block(void* block) {
    std::free(block);
}

}  // namespace

void reserve_thread_blocks() {
    slot = ::FlsAlloc(free_block);
}

// The system frees the blocks of all threads.
void give_up_thread_blocks() {
    if (slot != FLS_OUT_OF_INDEXES)
        ::FlsFree(slot);
    slot = FLS_OUT_OF_INDEXES;
}

void* thread_block(std::size_t size) {
    if (void* const block = existing_thread_block(); block != nullptr || slot == FLS_OUT_OF_INDEXES)
        return block;
    void* const block = std::calloc(1, size);
    if (block != nullptr && !::FlsSetValue(slot, block)) {
        std::free(block);
        return nullptr;
    }
    return block;
}

// Asking sets the thread's last error, which is the host's.
void* existing_thread_block() {
    if (slot == FLS_OUT_OF_INDEXES)
        return nullptr;
    const DWORD error = ::GetLastError();
    void* const block = ::FlsGetValue(slot);
    ::SetLastError(error);
    return block;
}

}  // namespace qmio::platform
