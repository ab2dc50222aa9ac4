// Options by the names that they have had since FFmpeg 5.1.
#pragma once

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

// The option of `object` that `key` names, or that a newer FFmpeg has instead under another name and with values of the same
// meaning; null without one. `search_flags` are av_opt_find's.
const AVOption* find_option(void* object, const char* key, int search_flags);

}  // namespace qmio::ffmpeg
