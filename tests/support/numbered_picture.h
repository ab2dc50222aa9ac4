// A picture that carries its own number: sixteen big black or white blocks in its upper half, most significant bit
// first, eight to a row. The blocks are measured in fractions of the picture, so that the number also survives scaling.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qmio::test {

inline constexpr int kNumberBits = 16;
inline constexpr int kBlocksPerRow = 8;
inline constexpr int kBlockRowsInPicture = 4;  // two rows of blocks, then texture of the same height

// Which bit of the number the pixel belongs to; -1 below the blocks.
inline int bit_at(int x, int y, int width, int height) {
    const int row = y * kBlockRowsInPicture / height;
    if (row * kBlocksPerRow >= kNumberBits)
        return -1;
    return row * kBlocksPerRow + x * kBlocksPerRow / width;
}

inline bool bit_is_white(int number, int bit) {
    return ((number >> (kNumberBits - 1 - bit)) & 1) != 0;
}

// Reads the number out of pixels of four bytes each, `row_bytes` apart; the second byte of a pixel is green in every
// order that the tests use. Looks at one pixel in the middle of each block.
inline int read_number(const uint8_t* pixels, int width, int height, int row_bytes) {
    int number = 0;
    for (int bit = 0; bit < kNumberBits; ++bit) {
        const int x = (2 * (bit % kBlocksPerRow) + 1) * width / (2 * kBlocksPerRow);
        const int y = (2 * (bit / kBlocksPerRow) + 1) * height / (2 * kBlockRowsInPicture);
        const uint8_t* pixel = pixels + static_cast<std::ptrdiff_t>(y) * row_bytes + static_cast<std::ptrdiff_t>(x) * 4;
        number = number * 2 + (pixel[1] > 127 ? 1 : 0);
    }
    return number;
}

}  // namespace qmio::test
