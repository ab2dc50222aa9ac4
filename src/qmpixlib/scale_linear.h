// The pixel library.
#pragma once

namespace qmio {

// Scales a picture of 32-bit pixels by linear interpolation in both directions. Sizes in pixels and rows, pitches in
// pixels from one row to the next, which may be more than the width. False, and nothing is written, when a size is
// below 1, a pointer is null, or libyuv does not scale such sizes (sources beyond 32,768 pixels either way).
bool qm_scale_linear(void* dst, int dst_width, int dst_height, int dst_pitch, const void* src, int src_width,
                     int src_height, int src_pitch);

}  // namespace qmio
