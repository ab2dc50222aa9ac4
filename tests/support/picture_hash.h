// A hash of a picture's bytes, the same in the tests and in the program that makes their references.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qmio::test {

// One step is a bijection of the state, so two pictures that differ in a single word never share a hash.
inline uint64_t mix_word(uint64_t state, uint64_t word) {
    state = (state ^ word) * 0x9E3779B97F4A7C15U;
    return state ^ (state >> 32);
}

class PictureHash {
  public:
    // A row's bytes; a multiple of four.
    void add_row(const uint8_t* row, std::size_t bytes) {
        std::size_t at = 0;
        for (; at + 8 <= bytes; at += 8) {
            uint64_t word = 0;
            std::memcpy(&word, row + at, 8);
            state_ = mix_word(state_, word);
        }
        if (at < bytes) {
            uint32_t word = 0;
            std::memcpy(&word, row + at, 4);
            state_ = mix_word(state_, word);
        }
    }

    uint64_t value() const { return state_; }

  private:
    uint64_t state_ = 0x243F6A8885A308D3U;
};

inline uint64_t hash_picture(const uint8_t* pixels, int width, int height, int row_bytes) {
    PictureHash hash;
    for (int y = 0; y < height; ++y)
        hash.add_row(pixels + static_cast<std::size_t>(y) * static_cast<std::size_t>(row_bytes),
                     static_cast<std::size_t>(width) * 4);
    return hash.value();
}

}  // namespace qmio::test
