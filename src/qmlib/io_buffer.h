// The buffer behind an I/O context of our own.
#pragma once

#include "ffmpeg/owners.h"

namespace qmio::qmlib {

inline constexpr int kIoBufferSize = 32768;
inline constexpr int kIoBufferSlack = 48;  // behind the size that the context is told

inline ffmpeg::BlockPtr make_io_buffer() {
    return ffmpeg::BlockPtr(static_cast<uint8_t*>(av_malloc(kIoBufferSize + kIoBufferSlack)));
}

}  // namespace qmio::qmlib
