// What demuxers know of the time after they were put elsewhere.
#pragma once

#include <cstdint>
#include <optional>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

enum class AfterByteSeek {
    knows_time,  // the packets that follow tell theirs
    counts_on,  // packets are numbered from where the demuxer stood before, and what it says of key packets goes by that
    loses_time,  // times are wrong until the container repeats one in full
    refuses,     // the demuxer takes no byte positions
};

AfterByteSeek after_byte_seek(const AVFormatContext& container);

// To be called before a byte seek: a demuxer that counts packets would otherwise first read there what it meant to read
// of the last one.
void prepare_byte_seek(AVFormatContext& container, const AVStream& stream, int64_t position);

// True where a packet of the container may begin inside a frame: after a seek the rest of that frame passes for one, and
// takes the time that belongs to the next.
bool lands_inside_frames(const AVFormatContext& container);

// True where times that are sought are compared with the times of showing, elsewhere with those of decoding.
bool seeks_by_pts(const AVFormatContext& container);

// The time of the first packet that the demuxer knows of a stream.
std::optional<int64_t> first_timestamp(const AVStream& stream);

// The timestamp of the packet that begins at `position`, where the demuxer met it among the first packets of the stream.
std::optional<int64_t> early_timestamp_at(const AVStream& stream, int64_t position);

}  // namespace qmio::ffmpeg
