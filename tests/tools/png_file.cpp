#include "tools/png_file.h"

#include <memory>

#include "support/open_media.h"

#ifndef __clang_analyzer__  // which would find fault with the body of that header
#define STB_IMAGE_IMPLEMENTATION
#endif
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#define STBI_NO_STDIO
#include <stb_image.h>

namespace qmio::test {

PngFile read_png(const std::filesystem::path& path) {
    const Bytes bytes = read_bytes(path);
    PngFile file;
    int channels = 0;
    const std::unique_ptr<uint8_t, decltype(&stbi_image_free)> pixels(
        stbi_load_from_memory(bytes.data(), static_cast<int>(bytes.size()), &file.width, &file.height, &channels, 4),
        stbi_image_free);
    if (pixels == nullptr)
        return {};
    const std::size_t size = static_cast<std::size_t>(file.width) * static_cast<std::size_t>(file.height) * 4;
    file.rgba.assign(pixels.get(), pixels.get() + size);
    return file;
}

}  // namespace qmio::test
