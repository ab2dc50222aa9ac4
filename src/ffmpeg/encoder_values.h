// What encoders are given: what a bare number means to them, and what they do not look at before they calculate with it.
#pragma once

#include "ffmpeg/owners.h"

namespace qmio::ffmpeg {

// The layout that a channel count alone means to this encoder: the usual one where it takes it, otherwise its own first
// one of that count; the usual one also where it has none or does not say.
void set_channels(AVCodecContext& context, const AVCodec& encoder, int channels);

// The layout that the options of the encoder name, in place of what the context has; unchanged where they name none.
void take_named_layout(AVCodecContext& context, const Dictionary& options);

// AVERROR(EINVAL), after a message in FFmpeg's log, where `context` holds a value that `encoder` would neither
// refuse nor survive; 0 for every other, which the encoder answers itself.
int check_unchecked_values(AVCodecContext& context, const AVCodec& encoder);

// The same for the samples of a picture: those of more bits than its pixel format has.
int check_unchecked_samples(AVCodecContext& context, const AVFrame& picture);

}  // namespace qmio::ffmpeg
