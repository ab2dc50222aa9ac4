// Where the container is put: by the frame-position index or by time. It knows nothing of pictures.
#pragma once

#include "read/source.h"

namespace qmio::read {

// Empties all decoders and lets go of the held picture: what every change of place leaves behind.
void flush_decoders(Source& source);

// How many frames the frame-position index tells positions of; 0 without one.
int64_t indexed_frames(const Container& container);

// Each returns FFmpeg's result and flushes nothing.
int position_by_index(Source& source, int32_t frame);
int position_by_time(Source& source, int64_t timestamp, int flags);

// Positions at or before `frame`: by the index where it has the frame and not `by_time`, else at a key packet. False
// when the container cannot; otherwise decoders are flushed.
bool position_before(Source& source, int32_t frame, bool by_time);

// Positions where reading began when the source was opened, with frame 0 as the next. False when the container cannot;
// otherwise decoders are flushed.
bool position_at_start(Source& source);

}  // namespace qmio::read
