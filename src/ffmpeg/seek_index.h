// What a demuxer's own index tells of a seek before it is made.
#pragma once

#include <cstdint>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

struct IndexedKey {
    int entry = -1;        // where a seek backward to the time goes; negative: the index does not tell
    bool is_last = false;  // nothing behind it is in the index, which may not reach any further
};

IndexedKey indexed_key(const AVStream& stream, int64_t timestamp);

// True where the same packet may have other times when the demuxer was put elsewhere before it was read.
bool times_depend_on_way(const AVFormatContext& container);

// True where the container is a file of this system, read by FFmpeg itself.
bool is_local_file(const AVFormatContext& container);

}  // namespace qmio::ffmpeg
