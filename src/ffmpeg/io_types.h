// What FFmpeg's I/O callbacks are handed.
#pragma once

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

// The bytes that a write callback gets were not const before FFmpeg 7.
#if LIBAVFORMAT_VERSION_MAJOR >= 61
using WrittenByte = const uint8_t;
#else
using WrittenByte = uint8_t;
#endif

}  // namespace qmio::ffmpeg
