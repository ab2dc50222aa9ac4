#include "support/plain_encoder.h"

#include <cstring>

#include "support/release_names.h"

namespace qmio::test {

namespace {

// The usual layout of the count, or the encoder's own where it does not take that.
void choose_layout(AVCodecContext& codec, const AVCodec& encoder, int channels) {
    av_channel_layout_default(&codec.ch_layout, channels);
    const AVChannelLayout* own = nullptr;
    for (const AVChannelLayout* one = layouts_of(encoder); one != nullptr && one->nb_channels > 0; ++one) {
        if (av_channel_layout_compare(one, &codec.ch_layout) == 0)
            return;
        own = own == nullptr && one->nb_channels == channels ? one : own;
    }
    if (own != nullptr)
        av_channel_layout_copy(&codec.ch_layout, own);
}

Codec open_encoder(const SoundEncoding& encoding) {
    const AVCodec* encoder = avcodec_find_encoder_by_name(encoding.encoder.c_str());
    Codec codec(avcodec_alloc_context3(encoder));
    codec->sample_fmt = encoding.form.format;
    codec->sample_rate = encoding.form.rate;
    codec->time_base = {1, encoding.form.rate};
    choose_layout(*codec, *encoder, encoding.form.channels);
    if (encoding.experimental)
        codec->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
    if (encoding.bit_rate > 0)
        codec->bit_rate = encoding.bit_rate;
    if (encoding.global_header)
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    return avcodec_open2(codec.get(), encoder, nullptr) < 0 ? nullptr : std::move(codec);
}

Frame sound_frame(const AVCodecContext& codec, const Bytes& samples, int64_t pts) {
    Frame frame(av_frame_alloc());
    const int block = av_get_bytes_per_sample(codec.sample_fmt) * codec.ch_layout.nb_channels;
    frame->nb_samples = static_cast<int>(samples.size()) / block;
    frame->format = codec.sample_fmt;
    frame->sample_rate = codec.sample_rate;
    frame->pts = pts;
    av_channel_layout_copy(&frame->ch_layout, &codec.ch_layout);
    av_frame_get_buffer(frame.get(), 0);
    const bool planar = av_sample_fmt_is_planar(codec.sample_fmt) != 0;
    const std::size_t planes = planar ? static_cast<std::size_t>(codec.ch_layout.nb_channels) : 1;
    for (std::size_t plane = 0; plane < planes; ++plane)
        std::memcpy(frame->extended_data[plane], samples.data() + plane * samples.size() / planes,
                    samples.size() / planes);
    return frame;
}

void take_packets(AVCodecContext& codec, std::vector<Bytes>& packets) {
    const Packet packet(av_packet_alloc());
    while (avcodec_receive_packet(&codec, packet.get()) >= 0) {
        packets.emplace_back(packet->data, packet->data + packet->size);
        av_packet_unref(packet.get());
    }
}

}  // namespace

std::optional<int> frame_of(const SoundEncoding& encoding) {
    const Codec codec = open_encoder(encoding);
    if (codec == nullptr)
        return std::nullopt;
    const bool any = (codec->codec->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE) != 0;
    return any ? 0 : codec->frame_size;
}

int frame_samples(const SoundEncoding& encoding) {
    return frame_of(encoding).value_or(0);
}

std::vector<Bytes> encode_plainly(const SoundEncoding& encoding, const SoundMaker& maker, int64_t samples) {
    const Codec codec = open_encoder(encoding);
    std::vector<Bytes> packets;
    for (int64_t at = 0; codec != nullptr && at < samples; at += codec->frame_size) {
        const Frame frame = sound_frame(*codec, maker.samples_until(samples, at, codec->frame_size), at);
        avcodec_send_frame(codec.get(), frame.get());
        take_packets(*codec, packets);
    }
    return packets;
}

std::vector<Bytes> encode_plainly(const SoundEncoding& encoding, const std::vector<Bytes>& frames) {
    const Codec codec = open_encoder(encoding);
    std::vector<Bytes> packets;
    int64_t at = 0;
    for (const Bytes& samples : frames) {
        const Frame frame = sound_frame(*codec, samples, at);
        at += frame->nb_samples;
        if (avcodec_send_frame(codec.get(), frame.get()) >= 0)
            take_packets(*codec, packets);
    }
    return packets;
}

}  // namespace qmio::test
