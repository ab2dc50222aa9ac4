// What a host asked of the sound of a handle.
#pragma once

#include <array>
#include <cstdint>

#include "core/handle/track.h"
#include "ffmpeg/owners.h"
#include "ffmpeg/resampler.h"

namespace qmio {

inline constexpr int kMaxUserChannels = 64;

struct Sound {
    ffmpeg::SoundForm user = kNoSound;  // what the host wants, or hands over
    std::array<int32_t, kMaxUserChannels> chan_map{};
    int32_t cur_track = 0;  // negative: all tracks
    bool fill_silence = false;
    bool need_resample = false;
    bool map_report_pending = false;
    ffmpeg::Resampler swr;         // between the host's form and the current track's
    ffmpeg::FramePtr audio_frame;  // decoded last
    int32_t audio_dur_ms = 0;
};

}  // namespace qmio
