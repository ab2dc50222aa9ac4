#include "ffmpeg/resampler.h"

#include <algorithm>
#include <limits>

namespace qmio::ffmpeg {

uint64_t default_layout_mask(int channels) {
    AVChannelLayout layout = {};
    av_channel_layout_default(&layout, channels);
    return layout.order == AV_CHANNEL_ORDER_NATIVE ? layout.u.mask : 0;
}

SoundForm form_of(const AVCodecContext& codec) {
    return {codec.ch_layout.nb_channels, codec.sample_fmt, codec.sample_rate};
}

SoundForm form_of(const AVFrame& frame) {
    return {frame.ch_layout.nb_channels, static_cast<AVSampleFormat>(frame.format), frame.sample_rate};
}

void Resampler::prepare(const SoundForm& from, const SoundForm& to) {
    from_ = from;
    to_ = to;
    AVChannelLayout source = {};
    AVChannelLayout target = {};
    av_channel_layout_default(&source, from.channels);
    av_channel_layout_default(&target, to.channels);
    SwrContext* context = nullptr;
    // What cannot be converted is not even tried: libswresample would complain on standard error.
    if (can_convert())
        swr_alloc_set_opts2(&context, &target, to.format, to.rate, &source, from.format, from.rate, 0, nullptr);
    else
        context = swr_alloc();
    context_.reset(context);
}

bool Resampler::can_convert() const {
    // Without speakers on either side libswresample would guess which channel is which.
    const bool has_layouts = default_layout_mask(from_.channels) != 0 && default_layout_mask(to_.channels) != 0;
    // It takes a format that is none, too, and later divides by the size of its samples.
    return has_layouts && from_.rate > 0 && to_.rate > 0 && av_get_bytes_per_sample(from_.format) > 0 &&
           av_get_bytes_per_sample(to_.format) > 0;
}

bool Resampler::init() {
    if (context_ == nullptr || !can_convert() || swr_init(context_.get()) < 0)
        context_.reset();
    return context_ != nullptr;
}

void Resampler::restart() {
    if (context_ == nullptr)
        return;
    swr_close(context_.get());
    init();
}

int Resampler::expected(int count, int rate) const {
    if (rate < 1)
        rate = from_.rate;
    const int64_t inside = swr_get_delay(context_.get(), rate);
    const int64_t expected = av_rescale_rnd(inside + count, to_.rate, rate, AV_ROUND_UP);
    return static_cast<int>(std::clamp<int64_t>(expected, 0, std::numeric_limits<int>::max()));
}

int Resampler::convert(uint8_t* const* target, int capacity, const uint8_t* const* source, int count) {
    // The parameters lost their const in one release of FFmpeg and got it back in a later one.
    return swr_convert(context_.get(), const_cast<uint8_t**>(target), capacity, const_cast<const uint8_t**>(source),
                       count);
}

}  // namespace qmio::ffmpeg
