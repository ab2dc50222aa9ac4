// Reading packets out of the container.
#pragma once

#include "qmio.h"
#include "read/source.h"

namespace qmio::read {

inline constexpr int kEndOfInput = -1;

// True while packets come from a background reader, whose the container is then.
bool is_read_in_background(const Source& source);

// Reads one packet; false at the end of the input, on errors, and once the container is cancelled.
bool read_packet(Container& container, Reading& reading);

// Reads one packet and tells its kind, or kEndOfInput. Audio counts only for the selected track (or all).
int get_frame(Source& source);
int release_frame(Source& source);

// The video packet in hand, to be decoded: the one read last. Null where the one in hand is of another kind and was read
// in the background.
AVPacket* video_packet(Source& source);

// Reads on to the next video packet, dropping the others; false at the end of the input.
bool next_video_packet(Source& source);

}  // namespace qmio::read
