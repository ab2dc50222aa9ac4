// FFmpeg's registries as lists that can be walked from any element, and what codecs say they take.
#pragma once

#include <cstdint>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

// The registries in FFmpeg's own order; null behind the last element and for one that is in none.
const AVCodec* first_codec();
const AVCodec* next_codec(const AVCodec* codec);
const AVOutputFormat* first_format();
const AVOutputFormat* next_format(const AVOutputFormat* format);

// What the codec takes, ended by AV_SAMPLE_FMT_NONE, by 0, by a layout without channels, by -1; null when it does not say. The pixel formats are the
// interface's numbers: a list of the library's own, the same one at every call, until forget_pixel_formats.
const AVSampleFormat* sample_formats(const AVCodec& codec);
const int* sample_rates(const AVCodec& codec);
const AVChannelLayout* channel_layouts(const AVCodec& codec);
const int32_t* interface_pixel_formats_of(const AVCodec& codec);

// Unloading only.
void forget_pixel_formats();

}  // namespace qmio::ffmpeg
