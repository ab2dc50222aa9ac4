// From the decoded picture to the caller's buffer.
#pragma once

#include "qmio.h"
#include "read/source.h"

namespace qmio::read {

// How pictures are delivered from now on: with the colours that the stream tells, and turned upright as it tells.
void choose_delivery(Video& video, bool told_colours, bool upright);

// Converts the picture held in pFrame; rows written, 0 on failure, -1 without record, codec or frame, 1 for a picture without
// data, which is left alone.
int convert_held_picture(Source& source, imio_picture* picture);

// A record over a host's plain buffer of width x height x 4 bytes.
imio_picture plain_buffer(const Video& video, uint8_t* buffer);

}  // namespace qmio::read
