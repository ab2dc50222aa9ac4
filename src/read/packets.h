// Reading packets out of the container.
#pragma once

#include "core/media_handle.h"
#include "qmio.h"

namespace qmio::read {

enum PacketKind {
    kEndOfInput = -1,
    kOtherPacket = QMIO_PACKET_OTHER,
    kVideoPacket = QMIO_PACKET_VIDEO,
    kAudioPacket = QMIO_PACKET_AUDIO
};

// Reads one packet into the handle; false at the end of the input, on errors, and once the handle is cancelled.
bool read_packet(MediaHandle& handle);

// Reads one packet into the handle and tells its kind. Audio counts only for the selected track (or all).
int get_frame(MediaHandle& handle);
int release_frame(MediaHandle& handle);

// Reads on to the next video packet, dropping the others; false at the end of the input.
bool next_video_packet(MediaHandle& handle);

}  // namespace qmio::read
