// PNG files, read by a decoder that is neither the library's nor the host's.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace qmio::test {

struct PngFile {
    int width = 0;  // 0 when the file cannot be read
    int height = 0;
    std::vector<uint8_t> rgba;

    const uint8_t* pixel(int x, int y) const { return rgba.data() + (static_cast<std::ptrdiff_t>(y) * width + x) * 4; }
};

PngFile read_png(const std::filesystem::path& path);

}  // namespace qmio::test
