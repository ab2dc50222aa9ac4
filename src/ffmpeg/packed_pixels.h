// How many pixels can be in so many bytes, where packing has a bound.
#pragma once

#include <cstdint>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

// The most pixels of a picture of this codec that is whole in a source of so many bytes; the greatest number where the codec has
// no bound, and for a size below 0, which is not known.
int64_t most_pixels_in(AVCodecID codec, int64_t bytes);

// The same for what is being read; null: not known. The source is asked for its size where that matters alone.
int64_t most_pixels_in(AVCodecID codec, AVIOContext* source);

}  // namespace qmio::ffmpeg
