// What an option string says about a new file: container, encoders, picture, audio tracks, tags.
#pragma once

#include <cstdint>
#include <vector>

#include "core/text/options.h"
#include "ffmpeg/resampler.h"

namespace qmio::write {

struct AskedTrack {
    const AVCodec* encoder = nullptr;  // null where the name was unknown
    ffmpeg::SoundForm form{0, AV_SAMPLE_FMT_U8, 0};
    Options tags = {};
};

struct AskedFile {
    const AVOutputFormat* output_format = nullptr;
    const AVCodec* video_encoder = nullptr;  // null: no video
    int32_t width = 0;
    int32_t height = 0;
    AVPixelFormat pix_fmt = AV_PIX_FMT_NONE;
    uint32_t video_tag = 0;
    std::vector<AskedTrack> tracks;
    Options tags;
    Options video_tags;
};

// What the creation keys of `options` ask for. Unknown names are no errors: they leave a null container
// or encoder, or -1 as a format. Audio parameters belong to the audio encoder named before them; those that come before
// the first one, and encoders beyond the kMaxTracks-th with their parameters, are ignored.
AskedFile read_creation_options(const Options& options);

}  // namespace qmio::write
