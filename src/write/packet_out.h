// The last step of every packet: into the container.
#pragma once

#include "core/handle/media_handle.h"

namespace qmio::write {

// Hands a packet, its times in the stream's time base already, to the muxer. A handle whose packets are suppressed
// takes it for written. Returns 0 or a negative FFmpeg error; an interleaving muxer takes the packet's bytes over, on
// errors too.
int write_packet(Container& container, const Writing& writing, AVPacket& packet);

}  // namespace qmio::write
