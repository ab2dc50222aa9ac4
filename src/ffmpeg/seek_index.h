// What a demuxer's own index tells of a seek before it is made.
#pragma once

#include <cstdint>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

struct IndexedKey {
    bool is_known = false;               // where a seek backward to the time goes is told by the index
    bool is_last = false;                // nothing behind it is in the index, which may not reach any further
    int64_t timestamp = AV_NOPTS_VALUE;  // of the packet, as the index has it
};

IndexedKey indexed_key(const AVStream& stream, int64_t timestamp);

// True where the same packet may have other times when the demuxer was put elsewhere before it was read.
bool times_depend_on_way(const AVFormatContext& container);

// True where the container is a file of this system, read by FFmpeg itself.
bool is_local_file(const AVFormatContext& container);

}  // namespace qmio::ffmpeg
