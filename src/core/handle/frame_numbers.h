// Conversions between frame numbers and stream timestamps.
#pragma once

#include <cstdint>
#include <optional>

#include "core/handle/container.h"
#include "core/handle/video.h"

namespace qmio {

// The frame rate that FFmpeg guesses for the stream.
AVRational guessed_frame_rate(const Container& container, AVStream& stream);

// The stream's start time; 0 when unknown.
int64_t start_or_zero(const AVStream& stream);

// Frame number -> timestamp of the stream, start time included. Integer arithmetic, each division truncating.
int64_t frame_to_timestamp(const Container& container, AVStream& stream, int64_t frame);

// Timestamp -> frame number. It goes by the stream's real frame rate, not by the guessed one.
int64_t timestamp_to_frame(const AVStream& stream, int64_t timestamp);

// The first known one of the picture's pts, its dts, the packet's pts, its dts; `packet` may be null.
int64_t picture_timestamp(const AVFrame& frame, const AVPacket* packet);

// Number of the frame shown at `timestamp`, rounded to nearest with halves away from zero.
int32_t frame_number_at(const Video& video, int64_t timestamp);

// Number of the picture that the packet brings: the counted one, else by `timestamp`, which is one of the packet's.
// Nothing where that does not tell.
std::optional<int32_t> frame_number_of(const Video& video, const AVPacket& packet, int64_t timestamp);

// Number of a picture decoded from `packet`, which may be null. Without any timestamp it is the wanted frame; -1 without
// a video stream.
int32_t frame_number_of(const Video& video, const AVFrame& picture, const AVPacket* packet);

// value x time base in units of 1/scale second, truncated; 0 for a broken time base.
int64_t scale_time(int64_t value, AVRational time_base, int64_t scale);

}  // namespace qmio
