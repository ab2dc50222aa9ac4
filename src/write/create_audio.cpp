// The audio tracks of a new file and their encoders.
#include "audio/sample_formats.h"
#include "core/codec_open.h"
#include "core/option_string.h"
#include "core/trace.h"
#include "ffmpeg/catalogue.h"
#include "write/create.h"

namespace qmio::write {

namespace {

constexpr int kRingSamples = 48000;

const char* format_name(int32_t format) {
    return av_get_sample_fmt_name(static_cast<AVSampleFormat>(format));
}

// The first of the encoder's formats, unless it takes the one that was asked for.
int32_t negotiate(const AVCodec& encoder, int32_t wanted) {
    trace(TraceSwitch::create, kCreateTag, L"\task sample fmt %d (%S)\n", wanted, format_name(wanted));
    const AVSampleFormat* const formats = ffmpeg::sample_formats(encoder);
    bool taken = false;
    for (const AVSampleFormat* format = formats; format != nullptr && *format != AV_SAMPLE_FMT_NONE; ++format) {
        trace(TraceSwitch::create, kCreateTag, L"\tcodec [%S], sample fmt %d (%S)\n", encoder.name,
              static_cast<int>(*format), format_name(*format));
        taken = taken || *format == wanted;
    }
    return taken || formats == nullptr ? wanted : formats[0];
}

// Deliberately a number of 32 bits, though the context has room for more.
void set_bit_rate(const Creation& creation, AVCodecContext& codec) {
    int32_t rate = find_number(creation.options, "ab");
    if (rate == 0)
        rate = find_number(creation.options, "b:a");
    if (rate == 0)
        return;
    trace(TraceSwitch::create, kCreateTag, L"\tset bitrate %d, old bitrate %d\n", rate,
          static_cast<int32_t>(codec.bit_rate));
    codec.bit_rate = rate;
}

// The track's tag is deliberately not among what is set: it always went into the context before its defaults did, and
// so ended as 0.
void describe(const Creation& creation, AVCodecContext& codec, std::size_t track) {
    const WriterState& writer = creation.handle.writer;
    set_bit_rate(creation, codec);
    codec.sample_fmt = static_cast<AVSampleFormat>(writer.sample_fmt[track]);
    codec.sample_rate = writer.sample_rate[track];
    codec.time_base = {1, codec.sample_rate};
    if (writer.channels[track] > 0)
        av_channel_layout_default(&codec.ch_layout, writer.channels[track]);
}

bool open_encoder(const Creation& creation, AVCodecContext& codec, std::size_t track) {
    const AVCodec& encoder = *creation.handle.writer.audio_encoder[track];
    ffmpeg::Dictionary options = encoder_options(creation, codec, add_audio_encoder_options, L"audio opts:\n");
    set_compliance(creation, codec, "strict:a", L"audio experimental\n");
    ask_for_global_header(creation.handle, codec, L"audio global header\n");
    if (open_codec(codec, encoder, &options) >= 0)
        return true;
    report(kCreateTag, L"error open codec %d [%S], track %d\n", static_cast<int>(encoder.id), encoder.name,
           static_cast<int>(track));
    return false;
}

// An encoder that takes a fixed number of samples gets them through a ring, where one of its frames fits.
bool make_ring(WriterState& writer, const AVCodecContext& codec, std::size_t track) {
    if ((codec.codec->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE) != 0)
        return true;
    const int32_t format = writer.sample_fmt[track];
    const int bytes = audio::sample_bytes(format);
    const int channels = writer.channels[track];
    const bool fits =
        codec.frame_size <= kRingSamples && int64_t{bytes} * channels * codec.frame_size <= kTrackBufferSize;
    if (fits)
        writer.audio_ring[track] = qmlib::AudioRing::create(
            kRingSamples, bytes, channels, av_sample_fmt_is_planar(static_cast<AVSampleFormat>(format)) != 0);
    writer.audio_buffer[track].reset(static_cast<uint8_t*>(av_malloc(kTrackBufferSize)));
    return writer.audio_buffer[track] != nullptr;
}

// The tables that tracks are asked by, the same as a reader's.
void enter_track(AudioState& audio, std::size_t track, AVStream& stream, AVCodecContext& codec) {
    audio.track_stream[track] = stream.index;
    audio.track_av_stream[track] = &stream;
    audio.track_codec[track] = &codec;
    audio.track_rate[track] = codec.sample_rate;
    audio.track_fmt[track] = codec.sample_fmt;
    audio.track_chans[track] = codec.ch_layout.nb_channels;
}

bool adopt_encoder(MediaHandle& handle, AVCodecContext& codec, AVStream& stream, std::size_t track) {
    WriterState& writer = handle.writer;
    if (avcodec_parameters_from_context(stream.codecpar, &codec) < 0)
        return false;
    // An option of FFmpeg's ("ch_layout") may have overruled "ac": what the encoder opened with is what it takes.
    if (writer.channels[track] > 0)
        writer.channels[track] = codec.ch_layout.nb_channels;
    writer.audio_packets[track].attach(&codec);
    writer.frame_samples[track] = codec.frame_size;
    enter_track(handle.audio, track, stream, codec);
    return make_ring(writer, codec, track);
}

bool add_track(Creation& creation, std::size_t track) {
    MediaHandle& handle = creation.handle;
    WriterState& writer = handle.writer;
    const int number = static_cast<int>(track);
    if (writer.audio_encoder[track] == nullptr) {
        trace(TraceSwitch::create, kCreateTag, L"no codec for audio stream %d\n", number);
        return true;
    }
    // Deliberately only while the switch is on; otherwise the encoder itself refuses what it does not take.
    if (tracing(TraceSwitch::create))
        writer.sample_fmt[track] = negotiate(*writer.audio_encoder[track], writer.sample_fmt[track]);
    AVStream* const stream = avformat_new_stream(handle.format_ctx.get(), nullptr);
    if (stream == nullptr) {
        trace(TraceSwitch::create, kCreateTag, L"\ttrack %d, error create new stream\n", number);
        return true;
    }
    AVCodecContext* const codec = add_codec(handle, *writer.audio_encoder[track]);
    trace(TraceSwitch::create, kCreateTag, L"\taudio stream created, ctx %p\n", static_cast<const void*>(codec));
    if (codec == nullptr)
        return false;
    writer.audio_codec_ctx[track] = codec;
    writer.audio_stream[track] = stream;
    writer.audio_stream_index[track] = stream->index;
    describe(creation, *codec, track);
    stream->time_base = codec->time_base;
    if (!open_encoder(creation, *codec, track) || !adopt_encoder(handle, *codec, *stream, track))
        return false;
    trace(TraceSwitch::create, kCreateTag, L"\ttrack %d OK, %d chans\n", number, codec->ch_layout.nb_channels);
    return true;
}

// What is delivered, in a writer: taken. At first that is what the first track is.
void take_form_of_first_track(AudioState& audio) {
    audio.user_rate = audio.track_rate[0];
    audio.user_fmt = audio.track_fmt[0];
    audio.user_chans = audio.track_chans[0];
}

}  // namespace

bool add_audio(Creation& creation) {
    WriterState& writer = creation.handle.writer;
    trace(TraceSwitch::create, kCreateTag, L"audio, %d tracks\n", writer.audio_track_count);
    if (writer.audio_track_count < 1)
        return true;
    for (std::size_t track = 0; track < static_cast<std::size_t>(writer.audio_track_count); ++track)
        if (!add_track(creation, track))
            return false;
    creation.handle.audio.track_count = writer.audio_track_count;
    take_form_of_first_track(creation.handle.audio);
    writer.audio_frame.reset(av_frame_alloc());
    return writer.audio_frame != nullptr;
}

}  // namespace qmio::write
