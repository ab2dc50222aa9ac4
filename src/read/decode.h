// One video packet into a picture.
#pragma once

#include "qmio.h"
#include "read/source.h"

namespace qmio::read {

// Decodes `packet` (null: drains the decoder) and converts the picture into `picture`; one without data is decoded
// but not converted. A packet's data and size advance as they are used. The result is one of QMIO_PICTURE_*,
// QMIO_NO_PICTURE or a negative code: what qmio_video_pkt returns.
int decode_packet(Source& source, imio_picture* picture, AVPacket* packet);

// Delivers a picture that the decoder kept from earlier packets; QMIO_NO_PICTURE when there is none.
int deliver_kept(Source& source, imio_picture* picture);

}  // namespace qmio::read
