// Memory with pages on both sides that nothing can touch: a byte read or written outside it ends the test.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qmio::test {

class GuardedMemory {
  public:
    explicit GuardedMemory(std::size_t size);  // throws std::bad_alloc
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;
    ~GuardedMemory();

    // `size` bytes of it that begin right behind the first guard, or end right before the last.
    uint8_t* at_start() const { return begin_; }
    uint8_t* at_end(std::size_t size) const { return begin_ + capacity_ - size; }
    std::size_t capacity() const { return capacity_; }  // the size asked for, in whole pages

  private:
    uint8_t* begin_ = nullptr;
    std::size_t capacity_ = 0;
};

}  // namespace qmio::test
