// The pixel library.
#pragma once

namespace qmio {

// Scales a picture of 32-bit pixels by linear interpolation in both directions, each byte of a pixel by itself. The
// borders of both pictures meet; beyond the centres of its outermost pixels a picture goes on as it is there. The
// weights sum to one: an even area keeps its value, and nothing becomes larger or smaller than what it is made of.
// Results lie within one of the exact value, rounded, within two where neighbours lie far apart.
// Sizes in pixels and rows, pitches in pixels from one row to the next, which may be more than the width. False, and
// nothing is written, when a size is below 1, a row has more bytes than an int holds, or a pointer is null.
bool qm_scale_linear(void* dst, int dst_width, int dst_height, int dst_pitch, const void* src, int src_width,
                     int src_height, int src_pitch);

}  // namespace qmio
