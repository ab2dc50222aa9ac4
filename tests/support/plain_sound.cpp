#include "support/plain_sound.h"

#include <cstring>
#include <map>
#include <numeric>
#include <string>

namespace qmio::test {

namespace {

constexpr std::size_t kMostTracks = 16;

Codec open_decoder(const AVStream& stream) {
    const AVCodec* decoder = avcodec_find_decoder(stream.codecpar->codec_id);
    Codec codec(avcodec_alloc_context3(decoder));
    if (decoder == nullptr || avcodec_parameters_to_context(codec.get(), stream.codecpar) < 0)
        return nullptr;
    codec->pkt_timebase = stream.time_base;
    return avcodec_open2(codec.get(), decoder, nullptr) < 0 ? nullptr : std::move(codec);
}

void decode_into(PlainTrack& track, AVCodecContext& codec, const AVPacket& packet) {
    const std::size_t before = track.frames.size();
    if (packet.size < 1 || avcodec_send_packet(&codec, &packet) < 0)
        return;
    for (;;) {
        Frame frame(av_frame_alloc());
        if (avcodec_receive_frame(&codec, frame.get()) < 0)
            break;
        track.frames.push_back(std::move(frame));
    }
    track.frames_per_packet.push_back(track.frames.size() - before);
}

// Every audio stream's decoder, and what it will give.
std::vector<Codec> open_tracks(const AVFormatContext& container, std::vector<PlainTrack>& tracks,
                               std::map<int, std::size_t>& track_of_stream) {
    std::vector<Codec> codecs;
    for (unsigned index = 0; index < container.nb_streams && tracks.size() < kMostTracks; ++index) {
        const AVStream& stream = *container.streams[index];
        if (stream.codecpar->codec_type != AVMEDIA_TYPE_AUDIO)
            continue;
        track_of_stream[stream.index] = tracks.size();
        codecs.push_back(open_decoder(stream));
        PlainTrack track;
        track.stream = stream.index;
        if (const AVCodecContext* codec = codecs.back().get(); codec != nullptr)
            track.form = {codec->ch_layout.nb_channels, codec->sample_rate, codec->sample_fmt};
        tracks.push_back(std::move(track));
    }
    return codecs;
}

void begin_anew(std::vector<PlainTrack>& tracks, const std::vector<Codec>& codecs) {
    for (std::size_t track = 0; track < tracks.size(); ++track) {
        tracks[track].frames.clear();
        tracks[track].frames_per_packet.clear();
        if (codecs[track] != nullptr)
            avcodec_flush_buffers(codecs[track].get());
    }
}

AVChannelLayout default_layout(int channels) {
    AVChannelLayout layout = {};
    av_channel_layout_default(&layout, channels);
    return layout;
}

std::vector<uint8_t*> planes_of(Bytes& bytes, const SoundForm& form, std::size_t count) {
    const std::size_t plane = count * static_cast<std::size_t>(av_get_bytes_per_sample(form.format));
    std::vector<uint8_t*> planes(static_cast<std::size_t>(form.channels));
    for (std::size_t channel = 0; channel < planes.size(); ++channel)
        planes[channel] = bytes.data() + channel * plane;
    return planes;
}

}  // namespace

SoundForm form_of(const AVFrame& frame) {
    return {frame.ch_layout.nb_channels, frame.sample_rate, static_cast<AVSampleFormat>(frame.format)};
}

int code_of(AVSampleFormat format) {
    static const std::map<std::string, int> codes = {{"u8", 8},     {"s16", 16},  {"s32", 32},   {"flt", 0},
                                                     {"dbl", 64},   {"s64", 128}, {"u8p", -8},   {"s16p", -16},
                                                     {"s32p", -32}, {"fltp", -1}, {"dblp", -64}, {"s64p", -128}};
    return codes.at(av_get_sample_fmt_name(format));
}

Block block_of(const uint8_t* const* planes, const SoundForm& form, std::size_t count) {
    const std::size_t bytes = static_cast<std::size_t>(av_get_bytes_per_sample(form.format));
    const std::size_t channels = static_cast<std::size_t>(form.channels);
    const bool planar = av_sample_fmt_is_planar(form.format) != 0;
    Block block{bytes, count, std::vector<Bytes>(channels, Bytes(count * bytes))};
    for (std::size_t channel = 0; channel < channels; ++channel)
        for (std::size_t sample = 0; sample < count && bytes > 0; ++sample) {
            const uint8_t* from = planar ? planes[channel] + sample * bytes  //
                                         : planes[0] + (sample * channels + channel) * bytes;
            std::memcpy(&block.channels[channel][sample * bytes], from, bytes);
        }
    return block;
}

Block block_of(const AVFrame& frame) {
    return block_of(frame.extended_data, form_of(frame), static_cast<std::size_t>(frame.nb_samples));
}

Bytes interleaved(const Block& block, const std::vector<int>& sources, uint8_t silence) {
    Bytes bytes(block.count * sources.size() * block.bytes, silence);
    for (std::size_t sample = 0; sample < block.count; ++sample)
        for (std::size_t channel = 0; channel < sources.size(); ++channel)
            if (sources[channel] >= 0)
                std::memcpy(&bytes[(sample * sources.size() + channel) * block.bytes],
                            &block.channels[static_cast<std::size_t>(sources[channel])][sample * block.bytes],
                            block.bytes);
    return bytes;
}

Bytes interleaved(const Block& block) {
    std::vector<int> sources(block.channels.size());
    std::iota(sources.begin(), sources.end(), 0);
    return interleaved(block, sources);
}

Bytes plane_by_plane(const Block& block) {
    Bytes bytes;
    for (const Bytes& channel : block.channels)
        bytes.insert(bytes.end(), channel.begin(), channel.end());
    return bytes;
}

Bytes delivered(const Block& block, AVSampleFormat format) {
    return av_sample_fmt_is_planar(format) != 0 ? plane_by_plane(block) : interleaved(block);
}

std::vector<PlainTrack> decode_plainly(const std::filesystem::path& path, const Move& move) {
    std::vector<PlainTrack> tracks;
    const Container container = open_plainly(path);
    if (container == nullptr)
        return tracks;
    std::map<int, std::size_t> track_of_stream;
    std::vector<Codec> codecs = open_tracks(*container, tracks, track_of_stream);
    const Packet packet(av_packet_alloc());
    bool moved = !move.seek;
    for (int packets = 0;;) {
        const bool at_end = av_read_frame(container.get(), packet.get()) < 0;
        const auto found = at_end ? track_of_stream.end() : track_of_stream.find(packet->stream_index);
        const bool is_sound = found != track_of_stream.end();
        if (is_sound && codecs[found->second] != nullptr)
            decode_into(tracks[found->second], *codecs[found->second], *packet);
        packets += is_sound ? 1 : 0;
        av_packet_unref(packet.get());
        if (!moved && (at_end || packets == move.after_packets)) {
            moved = true;
            move.seek(*container);
            begin_anew(tracks, codecs);
        } else if (at_end) {
            return tracks;
        }
    }
}

PlainResampler::PlainResampler(const SoundForm& from, const SoundForm& to) : from_(from), to_(to) {
    AVChannelLayout source = default_layout(from.channels);
    AVChannelLayout target = default_layout(to.channels);
    SwrContext* context = nullptr;
    swr_alloc_set_opts2(&context, &target, to.format, to.rate, &source, from.format, from.rate, 0, nullptr);
    context_.reset(context);
    // The library converts nothing whose channels are not known.
    const bool known = source.order == AV_CHANNEL_ORDER_NATIVE && target.order == AV_CHANNEL_ORDER_NATIVE;
    if (!known || swr_init(context) < 0)
        context_.reset();
}

Block PlainResampler::convert(const uint8_t* const* planes, int count, int rate) {
    const int capacity =
        static_cast<int>(av_rescale_rnd(swr_get_delay(context_.get(), rate) + count, to_.rate, rate, AV_ROUND_UP));
    const std::size_t channels = static_cast<std::size_t>(to_.channels);
    Bytes bytes(static_cast<std::size_t>(capacity) * channels *
                static_cast<std::size_t>(av_get_bytes_per_sample(to_.format)));
    std::vector<uint8_t*> target = planes_of(bytes, to_, static_cast<std::size_t>(capacity));
    const int converted =
        swr_convert(context_.get(), target.data(), capacity, const_cast<const uint8_t**>(planes), count);
    return block_of(target.data(), to_, static_cast<std::size_t>(converted < 0 ? 0 : converted));
}

Bytes converted_plainly(const PlainTrack& track, const SoundForm& to) {
    PlainResampler resampler(track.form, to);
    Bytes bytes;
    for (const Frame& frame : track.frames) {
        const Bytes piece = delivered(resampler.convert(*frame), to.format);
        bytes.insert(bytes.end(), piece.begin(), piece.end());
    }
    return bytes;
}

}  // namespace qmio::test
