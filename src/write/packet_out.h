// The last step of every packet: into the container.
#pragma once

#include "core/handle/media_handle.h"

namespace qmio::write {

// Hands a packet, its times in the stream's time base already, to the muxer. A handle whose packets are suppressed
// takes it for written. Returns 0 or a negative FFmpeg error; an interleaving muxer takes the packet's bytes over, on
// errors too. An error is kept with the handle and said (core/process/why.h).
int write_packet(Container& container, Writing& writing, AVPacket& packet);

// The same for what calls answer that come after the file was finished: AVERROR_EXIT, which says why.
int refuse_to_write();

}  // namespace qmio::write
