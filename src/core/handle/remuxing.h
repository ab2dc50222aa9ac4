// A file that packets of other files are copied into.
#pragma once

#include <cstdint>

#include "ffmpeg/copy_clock.h"

namespace qmio {

struct Remuxing {
    uint64_t video_source = 0;  // numbers of the handles that the streams were taken from; 0: none
    uint64_t sound_source = 0;
    ffmpeg::CopyClock video;
    ffmpeg::CopyClock sound;
    ffmpeg::CopyClock::Shift shift = 0;
};

}  // namespace qmio
