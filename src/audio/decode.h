// Packets of sound into frames, and frames into the host's buffer.
#pragma once

#include "core/handle/media_handle.h"

namespace qmio::audio {

// Decodes the next frame of the packet and delivers it; the packet is consumed as that goes on, and keeps a size above
// 0 while its decoder still holds frames of it. Returns the bytes written into `buffer`, 0 when the packet gave
// nothing more.
int32_t deliver_packet(Tracks& tracks, Sound& sound, uint8_t* buffer, AVPacket& packet);

}  // namespace qmio::audio
