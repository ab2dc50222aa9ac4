// One video packet into a picture.
#pragma once

#include "qmio.h"
#include "read/source.h"

namespace qmio::read {

// Decodes `packet` (null: drains the decoder) and converts the picture into `picture`; one without data is decoded
// but not converted. A packet's data and size advance as they are used. The result is one of QMIO_PICTURE_*,
// QMIO_NO_PICTURE or a negative code: what qmio_video_pkt returns.
int decode_packet(Source& source, imio_picture* picture, AVPacket* packet);

// What is returned for this picture.
int field_result(const AVFrame& frame);

// True where the codec may be drained in mid-stream and go on: it does not refer to earlier pictures, or the packet was
// the only one.
bool can_drain_after_packet(const Video& video);

// Delivers a picture that the decoder kept from earlier packets; QMIO_NO_PICTURE when there is none.
int deliver_kept(Source& source, imio_picture* picture);

}  // namespace qmio::read
