// What fresh memory holds is nobody's choice. A test that runs something twice with two fills sees whether any of it
// gets into the result.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qmio::test {

// Other bytes for every `fill`, and no pixel like the next: whatever is made of two fills differs, be it only colours.
void fill_memory(uint8_t* memory, std::size_t size, uint8_t fill);

// While it lives, what FFmpeg's allocator gives is filled so. On Windows, where a program cannot put itself between a
// library and its C library, it does nothing.
class FreshMemoryFill {
  public:
    explicit FreshMemoryFill(uint8_t fill);
    FreshMemoryFill(const FreshMemoryFill&) = delete;
    FreshMemoryFill& operator=(const FreshMemoryFill&) = delete;
    ~FreshMemoryFill();
};

}  // namespace qmio::test
