#include "support/memory_fill.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace qmio::test {

namespace {

using Noise = std::array<uint8_t, 65536>;

Noise made_noise() {
    Noise noise;
    uint32_t state = 1;
    for (uint8_t& byte : noise) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return noise;
}

}  // namespace

void fill_memory(uint8_t* memory, std::size_t size, uint8_t fill) {
    static const Noise noise = made_noise();
    std::size_t from = std::size_t{fill} * 251;
    while (size > 0) {
        const std::size_t count = std::min(size, noise.size() - from);
        std::memcpy(memory, &noise[from], count);
        memory += count;
        size -= count;
        from = 0;
    }
}

}  // namespace qmio::test
