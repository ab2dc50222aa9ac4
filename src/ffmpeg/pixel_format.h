// Pixel-format numbers: the frozen ones that cross the interface, and the linked FFmpeg's own.
#pragma once

#include <cstdint>

#include "ffmpeg/ffmpeg.h"
#include "ffmpeg/pixel_format_names.h"

namespace qmio::ffmpeg {

// The interface's number -> the linked FFmpeg's format. AV_PIX_FMT_NONE for a number that names no format, and for a
// frozen format that the linked FFmpeg no longer has.
AVPixelFormat pixel_format_from_interface(int32_t number);

// The linked FFmpeg's format -> the interface's number. A format without a frozen number gives 0x10000 + FFmpeg's
// number; AV_PIX_FMT_NONE gives -1.
int32_t pixel_format_to_interface(int format);

// True when the format is known and its pixels carry alpha.
bool has_alpha(int format);

}  // namespace qmio::ffmpeg
