// Whether a stream of H.264 can hold fields, by the headers that its container keeps.
#pragma once

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

// True when every sequence header says that all pictures are whole frames. False where the container does not keep the
// headers apart from the packets, which may then bring others.
bool holds_whole_frames_only(const AVCodecParameters& parameters);

}  // namespace qmio::ffmpeg
