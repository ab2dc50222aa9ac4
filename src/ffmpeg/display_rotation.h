// How far a picture has to be turned to be seen upright.
#pragma once

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

// Whole degrees clockwise, 0 to 359, as the stream's display matrix says; 0 without one.
int display_rotation(const AVStream& stream);

}  // namespace qmio::ffmpeg
