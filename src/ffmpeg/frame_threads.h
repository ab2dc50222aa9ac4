// Which decoders may work at several pictures at once.
#pragma once

#include "ffmpeg/owners.h"

namespace qmio::ffmpeg {

// False where a decoder whose threads have a picture each gives wrong ones after it was flushed, which every seek does.
bool frame_threads_survive_flush(AVCodecID codec);

// To be called before the decoder is opened with `options`, over whatever they say of threads: such a decoder shares
// one picture among its threads, or works on one where it cannot. The number of threads stays as it is told.
void keep_from_frame_threads(AVCodecID codec, Dictionary& options);

}  // namespace qmio::ffmpeg
