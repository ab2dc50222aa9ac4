#include "plain_sound.h"

#include <stdexcept>

namespace bench {

namespace {

AVFormatContext* open_container(const std::string& name) {
    AVFormatContext* container = nullptr;
    if (avformat_open_input(&container, name.c_str(), nullptr, nullptr) < 0)
        throw std::runtime_error("cannot open " + name);
    return container;
}

SwrContext* make_resampler(const AVCodecContext& codec, int channels, int rate) {
    AVChannelLayout from = {};
    AVChannelLayout to = {};
    av_channel_layout_default(&from, codec.ch_layout.nb_channels);
    av_channel_layout_default(&to, channels);
    SwrContext* resampler = nullptr;
    swr_alloc_set_opts2(&resampler, &to, AV_SAMPLE_FMT_S16, rate, &from, codec.sample_fmt, codec.sample_rate, 0,
                        nullptr);
    if (resampler == nullptr || swr_init(resampler) < 0)
        throw std::runtime_error("no resampler");
    return resampler;
}

}  // namespace

PlainSound::PlainSound(const std::string& name, int channels, int rate)
    : channels_(channels),
      rate_(rate),
      container_(open_container(name)),
      frame_(av_frame_alloc()),
      packet_(av_packet_alloc()) {
    const AVCodec* decoder = nullptr;
    if (avformat_find_stream_info(container_.get(), nullptr) < 0)
        throw std::runtime_error("cannot read the streams of " + name);
    stream_ = av_find_best_stream(container_.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0);
    if (stream_ < 0)
        throw std::runtime_error("no sound in " + name);
    const AVStream* stream = container_->streams[stream_];
    codec_.reset(avcodec_alloc_context3(decoder));
    avcodec_parameters_to_context(codec_.get(), stream->codecpar);
    codec_->pkt_timebase = stream->time_base;
    if (avcodec_open2(codec_.get(), decoder, nullptr) < 0)
        throw std::runtime_error("cannot open the decoder of " + name);
    resampler_.reset(make_resampler(*codec_, channels, rate));
}

// Hands the decoder the next packet of sound; false at the end.
bool PlainSound::feed() {
    while (av_read_frame(container_.get(), packet_.get()) >= 0) {
        const bool wanted = packet_->stream_index == stream_;
        if (wanted)
            avcodec_send_packet(codec_.get(), packet_.get());
        av_packet_unref(packet_.get());
        if (wanted)
            return true;
    }
    return false;
}

int PlainSound::convert() {
    const int64_t inside = swr_get_delay(resampler_.get(), codec_->sample_rate);
    const int room =
        static_cast<int>(av_rescale_rnd(inside + frame_->nb_samples, rate_, codec_->sample_rate, AV_ROUND_UP));
    buffer_.resize(static_cast<std::size_t>(room) * static_cast<std::size_t>(channels_) * 2);
    uint8_t* target = buffer_.data();
    const int samples = swr_convert(resampler_.get(), &target, room, const_cast<const uint8_t**>(frame_->extended_data),
                                    frame_->nb_samples);
    return samples * channels_ * 2;
}

int PlainSound::next() {
    for (;;) {
        const int result = avcodec_receive_frame(codec_.get(), frame_.get());
        if (result == AVERROR(EAGAIN)) {
            if (!feed())
                return 0;
        } else if (result < 0) {
            return 0;
        } else if (const int bytes = convert(); bytes > 0) {
            return bytes;
        }
    }
}

}  // namespace bench
