// The names and frozen numbers of the pixel formats at the interface. Free of FFmpeg's headers, so that the file that
// defines the exported integers, which carry the names of FFmpeg's enumerators, can include it.
#pragma once

#include <cstdint>
#include <span>

namespace qmio::ffmpeg {

struct PixelFormatName {
    int32_t number;
    const char* enumerator;
};

// Every name, the one that stands for "none" and the end mark included.
std::span<const PixelFormatName> interface_pixel_formats();

// The frozen number of an enumerator name ("AV_PIX_FMT_BGRA" is 30), compared byte for byte; -1 for an unknown name
// and for null.
int32_t interface_pixel_format_number(const char* enumerator);

}  // namespace qmio::ffmpeg
