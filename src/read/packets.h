// Reading packets out of the container.
#pragma once

#include "core/media_handle.h"

namespace qmio::read {

enum PacketKind { kEndOfInput = -1, kOtherPacket = 0, kVideoPacket = 1, kAudioPacket = 2 };

// Reads one packet into the handle and tells its kind. Audio counts only for the selected track (or all).
int get_frame(MediaHandle& handle);
int release_frame(MediaHandle& handle);

// Reads on to the next video packet, dropping the others; false at the end of the input.
bool next_video_packet(MediaHandle& handle);

}  // namespace qmio::read
