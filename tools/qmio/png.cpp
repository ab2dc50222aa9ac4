#include "png.h"

#include <cerrno>
#include <fstream>
#include <system_error>

#include "failure.h"
#include "text.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#include <stb_image_write.h>

namespace host {

namespace {

void append(void* file, void* data, int size) {
    static_cast<std::ofstream*>(file)->write(static_cast<const char*>(data), size);
}

std::string system_reason() {
    return std::generic_category().message(errno);
}

}  // namespace

void write_png(const std::string& name, const Picture& picture) {
    std::ofstream file(path_of(name), std::ios::binary | std::ios::trunc);
    if (!file)
        throw Failure(name, "cannot be written: " + system_reason());
    const int row_bytes = picture.width() * 4;
    const bool encoded =
        stbi_write_png_to_func(append, &file, picture.width(), picture.height(), 4, picture.pixels(), row_bytes) != 0;
    if (!encoded)
        throw Failure(name, "the picture cannot be encoded");
    file.close();  // a full disk often shows only here
    if (!file)
        throw Failure(name, "cannot be written whole: " + system_reason());
}

}  // namespace host
