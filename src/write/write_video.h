// Pictures into packets, packets into the file.
#pragma once

#include "core/handle/media_handle.h"
#include "qmio.h"

namespace qmio::write {

// Encodes a picture, whose pixels are in the encoder's format and size already, into `packet`. False when no packet
// came out of it.
bool encode_picture(Writing& writing, Video& video, const imio_picture& picture, AVPacket& packet);

// Writes a packet whose times are in the codec's time base, and enters its position into the frame-position index.
// `closing` only chooses the switch of the trace line. Returns 0 or a negative FFmpeg error.
int put_packet(MediaHandle& handle, AVPacket* packet, bool closing);

// Takes every packet out of the encoder that is still in it, and writes them.
void drain_video(MediaHandle& handle);

}  // namespace qmio::write
