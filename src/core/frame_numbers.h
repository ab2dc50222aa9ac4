// Conversions between frame numbers, stream timestamps and milliseconds.
#pragma once

#include <cstdint>

#include "core/media_handle.h"

namespace qmio {

inline constexpr int kNoFrame = -1;

// The frame rate that FFmpeg guesses for the stream.
AVRational guessed_frame_rate(const MediaHandle& handle, AVStream& stream);

// The stream's start time; 0 when unknown.
int64_t start_or_zero(const AVStream& stream);

// Frame number -> timestamp of the stream, start time included. Integer arithmetic, each division truncating.
int64_t frame_to_timestamp(const MediaHandle& handle, AVStream& stream, int64_t frame);

// Timestamp -> frame number. It goes by the stream's real frame rate, not by the guessed one.
int64_t timestamp_to_frame(const AVStream& stream, int64_t timestamp);

// The first known one of the picture's pts, its dts, the packet's pts, its dts; `packet` may be null.
int64_t picture_timestamp(const AVFrame& frame, const AVPacket* packet);

// Number of the frame shown at `timestamp`, rounded to nearest with halves away from zero.
int32_t frame_number_at(const MediaHandle& handle, int64_t timestamp);

// Number and presentation time of the picture in pFrame, decoded from `packet`. Without any timestamp they are the
// wanted frame and the time of the frame held before; without picture or video stream -1.
int32_t frame_number_of(const MediaHandle& handle, const AVPacket* packet);
int32_t frame_ms_of(const MediaHandle& handle, const AVPacket* packet);

// value x time base in units of 1/scale second, truncated; 0 for a broken time base.
int64_t scale_time(int64_t value, AVRational time_base, int64_t scale);

}  // namespace qmio
