// Conversion and scaling of one picture through libswscale, exact to the byte: nothing outside the target is written,
// every pixel inside is, and nothing outside the source is read.
#pragma once

#include <optional>

#include "ffmpeg/picture.h"

namespace qmio::ffmpeg {

// Converts `source` into `target`, scaling it where the sizes differ; `flags` as for sws_getContext. `scratch` is where
// a picture goes that libswscale cannot write in place; it is made when first needed and kept for the next call.
// Returns the rows written, 0 where libswscale fails or memory is short; nothing where there is no such conversion.
// Different pictures may be converted on different threads.
std::optional<int> scale_exactly(const Picture& source, const Picture& target, int flags, FramePtr& scratch);

}  // namespace qmio::ffmpeg
