// Positioning the demuxer by time, as the background reader does.
#pragma once

#include "core/handle/media_handle.h"

namespace qmio::packet {

// Positions at a key packet at or before `time_us` microseconds after the stream's first dts. `kind`: 1 the video
// stream, 2 the first audio track; any other kind takes the time as the container's own timestamp. What decoders hold is
// left to those who own them, and so are the wanted and the held frame. FFmpeg's result.
int seek_by_time(Container& container, const Video& video, const Tracks& tracks, int64_t time_us, int kind);

}  // namespace qmio::packet
