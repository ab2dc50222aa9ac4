#include "support/plain_encoder.h"

#include <cstring>

namespace qmio::test {

namespace {

Codec open_encoder(const SoundEncoding& encoding) {
    const AVCodec* encoder = avcodec_find_encoder_by_name(encoding.encoder.c_str());
    Codec codec(avcodec_alloc_context3(encoder));
    codec->sample_fmt = encoding.form.format;
    codec->sample_rate = encoding.form.rate;
    codec->time_base = {1, encoding.form.rate};
    av_channel_layout_default(&codec->ch_layout, encoding.form.channels);
    if (encoding.bit_rate > 0)
        codec->bit_rate = encoding.bit_rate;
    if (encoding.global_header)
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    return avcodec_open2(codec.get(), encoder, nullptr) < 0 ? nullptr : std::move(codec);
}

Frame frame_of(const AVCodecContext& codec, const Bytes& samples, int64_t pts) {
    Frame frame(av_frame_alloc());
    frame->nb_samples = codec.frame_size;
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

int frame_samples(const SoundEncoding& encoding) {
    const Codec codec = open_encoder(encoding);
    const bool any = (codec->codec->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE) != 0;
    return any ? 0 : codec->frame_size;
}

std::vector<Bytes> encode_plainly(const SoundEncoding& encoding, const SoundMaker& maker, int64_t samples) {
    const Codec codec = open_encoder(encoding);
    std::vector<Bytes> packets;
    for (int64_t at = 0; codec != nullptr && at < samples; at += codec->frame_size) {
        const Frame frame = frame_of(*codec, maker.samples_until(samples, at, codec->frame_size), at);
        avcodec_send_frame(codec.get(), frame.get());
        take_packets(*codec, packets);
    }
    return packets;
}

}  // namespace qmio::test
