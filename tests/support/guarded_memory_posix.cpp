#include <sys/mman.h>
#include <unistd.h>

#include <new>

#include "support/guarded_memory.h"

namespace qmio::test {

namespace {

std::size_t page_size() {
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

GuardedMemory::GuardedMemory(std::size_t size) : capacity_((size / page_size() + 1) * page_size()) {
    void* all = mmap(nullptr, capacity_ + 2 * page_size(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (all == MAP_FAILED)
        throw std::bad_alloc();
    begin_ = static_cast<uint8_t*>(all) + page_size();
    if (mprotect(begin_, capacity_, PROT_READ | PROT_WRITE) != 0)
        throw std::bad_alloc();
}

GuardedMemory::~GuardedMemory() {
    munmap(begin_ - page_size(), capacity_ + 2 * page_size());
}

}  // namespace qmio::test
