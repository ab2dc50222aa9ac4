// Positioning the demuxer by time. The background reader is to use it; until then only tests do.
#pragma once

#include "core/handle/media_handle.h"

namespace qmio::packet {

// Positions at a key packet at or before `time_us` microseconds after the stream's first dts. `kind`: 1 the video
// stream, 2 the first audio track; any other kind takes the time as the container's own timestamp. Decoders are
// flushed whatever the result; the wanted and the held frame stay. FFmpeg's result.
int seek_by_time(MediaHandle& handle, int64_t time_us, int kind);

}  // namespace qmio::packet
