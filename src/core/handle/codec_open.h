// Opening codecs, one at a time across all threads and processes.
#pragma once

#include "ffmpeg/owners.h"

namespace qmio {

// avcodec_open2 inside the codec mutex. `options` may be null; what the codec left in it was not used.
// An encoder that would crash or hang over a value in `context` is not opened: AVERROR(EINVAL).
// An encoder whose options do not tell the number of its threads has the configured number of cores.
// A codec whose worker threads cannot be created is opened with one thread instead.
int open_codec(AVCodecContext& context, const AVCodec& codec, ffmpeg::Dictionary* options);

// Pictures of more pixels are not decoded unless a host's options say otherwise.
int most_pixels();

// The same of a stream in an open source, whose size may tell that it holds no picture of so many.
int most_pixels(const AVFormatContext& container, const AVStream& stream);

// A codec context of our own for the stream, filled from its parameters; null when memory is short.
ffmpeg::CodecContextPtr make_stream_codec(const AVStream& stream);

}  // namespace qmio
