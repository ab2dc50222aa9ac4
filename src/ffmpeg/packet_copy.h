// Packet records: copies, and records that hold nothing.
#pragma once

#include "ffmpeg/owners.h"

namespace qmio::ffmpeg {

// Makes `target` a record of the same bytes: nothing is copied but the record, and `target` holds a share of the bytes
// of its own, so that neither record's end takes them from the other. What it held before is released. False when
// memory is short; `target` is blank then. A record may be copied onto itself.
bool copy_packet(AVPacket& target, const AVPacket& source);

// Ends the record's hold on its bytes and makes it zeros, its times too, which FFmpeg would make unknown.
void clear_packet(AVPacket& packet);

}  // namespace qmio::ffmpeg
