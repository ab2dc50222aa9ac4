// The audio tracks of a new file and their encoders.
#include "audio/sample_formats.h"
#include "core/handle/codec_open.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "core/text/option_passes.h"
#include "ffmpeg/catalogue.h"
#include "ffmpeg/encoder_values.h"
#include "write/create.h"

namespace qmio::write {

namespace {

constexpr int kRingSamples = 48000;

// Beside a frame that nearly fills the ring not even a short call would find room: what such encoders get is kept whole
// in calls of up to kRingSamples.
int ring_samples(int frame) {
    return frame > kRingSamples / 2 ? frame + kRingSamples : kRingSamples;
}

// The first of the encoder's formats, unless it takes the one that was asked for.
AVSampleFormat negotiate(const AVCodec& encoder, AVSampleFormat wanted) {
    trace(TraceSwitch::create, kCreateTag, L"\task sample fmt %d (%S)\n", static_cast<int>(wanted),
          av_get_sample_fmt_name(wanted));
    const AVSampleFormat* const formats = ffmpeg::sample_formats(encoder);
    bool taken = false;
    for (const AVSampleFormat* format = formats; format != nullptr && *format != AV_SAMPLE_FMT_NONE; ++format) {
        trace(TraceSwitch::create, kCreateTag, L"\tcodec [%S], sample fmt %d (%S)\n", encoder.name,
              static_cast<int>(*format), av_get_sample_fmt_name(*format));
        taken = taken || *format == wanted;
    }
    return taken || formats == nullptr ? wanted : formats[0];
}

// A number of 32 bits, as all numbers of the option text. Encoders get the option itself as well, which overrules it:
// a rate above 2 Gbit/s takes that way.
void set_bit_rate(const Creation& creation, AVCodecContext& codec) {
    const int32_t rate = find_number(creation.options, CreationKey::audio_bit_rate);
    if (rate == 0)
        return;
    trace(TraceSwitch::create, creation.tag, L"\tset bitrate %d, old bitrate %d\n", rate,
          static_cast<int32_t>(codec.bit_rate));
    codec.bit_rate = rate;
}

// The track's tag ("atag") is not among what is set: it always went into the context before its defaults did, and so
// ended as 0. A muxer given it would refuse files that hosts have always been able to write.
void describe(const Creation& creation, AVCodecContext& codec, const ffmpeg::SoundForm& form) {
    set_bit_rate(creation, codec);
    codec.sample_fmt = form.format;
    codec.sample_rate = form.rate;
    codec.time_base = {1, codec.sample_rate};
    if (form.channels > 0)
        ffmpeg::set_channels(codec, *codec.codec, form.channels);
}

bool open_encoder(Creation& creation, const Track& track, int number) {
    AVCodecContext& codec = *track.codec;
    ffmpeg::Dictionary options = encoder_options(creation, codec, add_audio_encoder_options, L"audio opts:\n");
    set_compliance(creation, codec, CreationKey::audio_compliance, L"audio experimental\n");
    ask_for_global_header(creation.handle.container, codec, L"audio global header\n");
    ffmpeg::take_named_layout(codec, options);
    const int result = open_codec(codec, *track.coder, &options);
    if (result >= 0)
        return true;
    why::failed(result, "encoder %s of track %d cannot be opened", track.coder->name, number);
    report(creation.tag, L"error open codec %d [%S], track %d\n", static_cast<int>(track.coder->id), track.coder->name,
           number);
    return false;
}

// An encoder that takes a fixed number of samples gets them through a ring, where one of its frames fits.
bool make_ring(Track& track) {
    if ((track.codec->codec->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE) != 0)
        return true;
    const int bytes = audio::sample_bytes(track.file.format);
    const int channels = track.file.channels;
    const int frame = track.codec->frame_size;
    if (int64_t{bytes} * channels * frame <= kTrackBufferSize)
        track.ring = qmlib::AudioRing::create(ring_samples(frame), bytes, channels,
                                              av_sample_fmt_is_planar(track.file.format) != 0);
    track.frame_buffer.reset(static_cast<uint8_t*>(av_malloc(kTrackBufferSize)));
    if (track.frame_buffer == nullptr)
        why::failed(AVERROR(ENOMEM));
    return track.frame_buffer != nullptr;
}

bool adopt_encoder(Track& track) {
    if (const int result = avcodec_parameters_from_context(track.stream->codecpar, track.codec); result < 0) {
        why::failed(result);
        return false;
    }
    // An option of FFmpeg's ("ch_layout") names channels, too, in place of "ac": what the encoder opened with is what it
    // takes.
    if (track.codec->ch_layout.nb_channels > 0)
        track.file.channels = track.codec->ch_layout.nb_channels;
    track.encoder.attach(track.codec);
    track.frame_samples = track.codec->frame_size;
    track.delivered = ffmpeg::form_of(*track.codec);
    return make_ring(track);
}

bool open_track(Creation& creation, Track& track, int number) {
    Container& container = creation.handle.container;
    track.stream = avformat_new_stream(container.format_ctx.get(), nullptr);
    if (track.stream == nullptr) {
        trace(TraceSwitch::create, creation.tag, L"\ttrack %d, error create new stream\n", number);
        return true;
    }
    track.codec = add_codec(container, *track.coder);
    trace(TraceSwitch::create, creation.tag, L"\taudio stream created, ctx %p\n",
          static_cast<const void*>(track.codec));
    if (track.codec == nullptr)
        return false;
    track.stream_index = track.stream->index;
    add_tags(&track.stream->metadata, creation.asked.tracks[static_cast<std::size_t>(number)].tags);
    describe(creation, *track.codec, track.file);
    track.stream->time_base = track.codec->time_base;
    if (!open_encoder(creation, track, number) || !adopt_encoder(track))
        return false;
    trace(TraceSwitch::create, creation.tag, L"\ttrack %d OK, %d chans\n", number, track.codec->ch_layout.nb_channels);
    return true;
}

bool add_track(Creation& creation, Track& track, int number) {
    if (track.coder == nullptr) {
        trace(TraceSwitch::create, creation.tag, L"no codec for audio stream %d\n", number);
        return true;
    }
    // Only while the switch is on: otherwise the encoder itself refuses what it does not take, which hosts see as a
    // failed creation instead of as a file in a format that they did not ask for.
    if (tracing(TraceSwitch::create))
        track.file.format = negotiate(*track.coder, track.file.format);
    return open_track(creation, track, number);
}

}  // namespace

void declare_tracks(Tracks& tracks, const AskedFile& asked) {
    for (const AskedTrack& one : asked.tracks) {
        Track& track = tracks.add();
        track.coder = one.encoder;
        track.file = one.form;
    }
}

bool add_audio(Creation& creation) {
    MediaHandle& handle = creation.handle;
    trace(TraceSwitch::create, creation.tag, L"audio, %d tracks\n", handle.tracks.count());
    if (handle.tracks.count() == 0)
        return true;
    int number = 0;
    for (Track& track : handle.tracks)
        if (!add_track(creation, track, number++))
            return false;
    // What the host hands over: at first the form of the first track.
    handle.sound.user = handle.tracks.first().delivered;
    handle.writing.audio_frame.reset(av_frame_alloc());
    if (handle.writing.audio_frame == nullptr)
        why::failed(AVERROR(ENOMEM));
    return handle.writing.audio_frame != nullptr;
}

}  // namespace qmio::write
