#include <windows.h>

#include <new>

#include "support/guarded_memory.h"

namespace qmio::test {

namespace {

constexpr std::size_t kPageSize = 4096;

}  // namespace

GuardedMemory::GuardedMemory(std::size_t size) : capacity_((size / kPageSize + 1) * kPageSize) {
    void* all = VirtualAlloc(nullptr, capacity_ + 2 * kPageSize, MEM_RESERVE, PAGE_NOACCESS);
    if (all == nullptr)
        throw std::bad_alloc();
    begin_ = static_cast<uint8_t*>(all) + kPageSize;
    if (VirtualAlloc(begin_, capacity_, MEM_COMMIT, PAGE_READWRITE) == nullptr)
        throw std::bad_alloc();
}

GuardedMemory::~GuardedMemory() {
    VirtualFree(begin_ - kPageSize, 0, MEM_RELEASE);
}

}  // namespace qmio::test
