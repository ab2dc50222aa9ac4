#include "platform/thread_block.h"

#include <pthread.h>

#include <cstdlib>

namespace qmio::platform {
namespace {

constinit pthread_key_t key{};
constinit bool is_reserved = false;

}  // namespace

// What the system calls at the end of a thread is a function of its own: a thread that ends while this library is being
// unloaded calls none of ours. Threads that live on after that keep their block.
void reserve_thread_blocks() {
    is_reserved = ::pthread_key_create(&key, std::free) == 0;
}

void give_up_thread_blocks() {
    if (!is_reserved)
        return;
    is_reserved = false;
    std::free(::pthread_getspecific(key));
    ::pthread_key_delete(key);
}

void* thread_block(std::size_t size) {
    if (void* const block = existing_thread_block(); block != nullptr || !is_reserved)
        return block;
    void* const block = std::calloc(1, size);
    if (block != nullptr && ::pthread_setspecific(key, block) != 0) {
        std::free(block);
        return nullptr;
    }
    return block;
}

void* existing_thread_block() {
    return is_reserved ? ::pthread_getspecific(key) : nullptr;
}

}  // namespace qmio::platform
