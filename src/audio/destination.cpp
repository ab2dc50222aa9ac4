// The form of sound that the host wants, and the resamplers that lead to it.
#include <algorithm>

#include "audio/channels.h"
#include "audio/deliver.h"
#include "audio/sample_formats.h"
#include "core/entry.h"
#include "core/trace.h"
#include "qmio.h"

namespace qmio::audio {
namespace {

constexpr const wchar_t* kTag = L"qmio_set_dst_audio";

void free_resamplers(AudioState& audio) {
    audio.swr.reset();
    for (ffmpeg::Resampler& resampler : audio.track_swr)
        resampler.reset();
    for (ffmpeg::Resampler& resampler : audio.track_own_swr)
        resampler.reset();
}

template <class Routine>
void for_each_open_track(AudioState& audio, Routine&& routine) {
    for (std::size_t track = 0; track < static_cast<std::size_t>(audio.track_count); ++track)
        if (audio.track_codec[track] != nullptr)
            routine(track, *audio.track_codec[track]);
}

// A reader's tables tell what is delivered from now on.
void update_tables(AudioState& audio) {
    for_each_open_track(audio, [&](std::size_t track, const AVCodecContext& codec) {
        audio.track_form[track] = ffmpeg::form_of(codec);
        const bool all = audio.cur_track < 0;
        if (!all && static_cast<std::size_t>(audio.cur_track) != track)
            return;
        audio.track_fmt[track] = audio.user_fmt;
        audio.track_rate[track] = audio.user_rate;
        audio.track_chans[track] = all ? codec.ch_layout.nb_channels : audio.user_chans;
    });
}

bool must_resample(AudioState& audio, const AVCodecContext& first) {
    bool differs =
        ffmpeg::default_layout_mask(first.ch_layout.nb_channels) != ffmpeg::default_layout_mask(audio.user_chans);
    for_each_open_track(audio, [&](std::size_t, const AVCodecContext& codec) {
        differs = differs || codec.sample_rate != audio.user_rate || codec.sample_fmt != audio.user_fmt;
    });
    return differs;
}

// All tracks at once: every one is deliberately resampled as if it were the first, its rate above all. Only where its
// frames have another shape, which that resampler could not read, is it made from the track's own form.
void make_track_resamplers(AudioState& audio, const ffmpeg::SoundForm& first) {
    for_each_open_track(audio, [&](std::size_t track, const AVCodecContext& codec) {
        const ffmpeg::SoundForm own = ffmpeg::form_of(codec);
        const bool alike = own.channels == first.channels && own.format == first.format;
        const ffmpeg::SoundForm& from = alike ? first : own;
        ffmpeg::Resampler& resampler = audio.track_swr[track];
        resampler.prepare(from, {from.channels, static_cast<AVSampleFormat>(audio.user_fmt), audio.user_rate});
        if (!resampler.init())
            trace(TraceSwitch::audio, kTag, L"swr_init failed on track %d\n", static_cast<int>(track));
    });
}

void make_resamplers(MediaHandle& handle, int32_t track, const AVCodecContext& codec) {
    AudioState& audio = handle.audio;
    const ffmpeg::SoundForm file = ffmpeg::form_of(codec);
    const ffmpeg::SoundForm user{audio.user_chans, static_cast<AVSampleFormat>(audio.user_fmt), audio.user_rate};
    if (is_writer(handle)) {
        audio.swr.prepare(user, file);
        trace(TraceSwitch::audio, kTag, L"track %d: user -> file, ctx %p\n", track, audio.swr.address());
    } else {
        audio.swr.prepare(file, user);
        trace(TraceSwitch::audio, kTag, L"track %d: file -> user, ctx %p\n", track, audio.swr.address());
        if (audio.cur_track < 0)
            make_track_resamplers(audio, file);
    }
    if (!audio.swr.init())
        trace(TraceSwitch::audio, kTag, L"swr_init failed\n");
    trace(TraceSwitch::audio, kTag, L"need resample, ctx %p\n", audio.swr.address());
    if (!audio.swr)
        audio.need_resample = 0;
}

void trace_destination(AudioState& audio) {
    int32_t channels = 0;
    for_each_open_track(audio,
                        [&](std::size_t, const AVCodecContext& codec) { channels += codec.ch_layout.nb_channels; });
    trace(TraceSwitch::audio, kTag, L"dst channels %d, src streams %d, channels %d\n", audio.user_chans,
          audio.track_count, channels);
    if (tracing(TraceSwitch::audio) && tracing(TraceSwitch::open))
        trace(TraceSwitch::open, kTag, L"%s", map_text(audio, audio.user_chans).c_str());
}

int32_t set_destination(MediaHandle& handle, int32_t channels, int32_t rate, int32_t format_code) {
    constexpr int32_t kFailed = 0;
    constexpr int32_t kDone = 1;
    AudioState& audio = handle.audio;
    const int32_t track = std::max(audio.cur_track, 0);
    const AVCodecContext* codec = audio.track_codec[static_cast<std::size_t>(track)];
    if (audio.track_codec[0] == nullptr || codec == nullptr)
        return kFailed;
    const AVSampleFormat format = sample_format_from_code(format_code);
    audio.user_fmt = audio.cur_track < 0 ? av_get_packed_sample_fmt(format) : format;
    free_resamplers(audio);
    audio.user_rate = rate;
    audio.user_chans = std::max(channels, 0);
    if (!is_writer(handle))
        update_tables(audio);
    map_channels_to_themselves(audio);
    audio.need_resample = must_resample(audio, *codec) ? 1 : 0;
    if (audio.need_resample != 0)
        make_resamplers(handle, track, *codec);
    trace_destination(audio);
    return kDone;
}

}  // namespace
}  // namespace qmio::audio

using namespace qmio;

int qmio_set_dst_audio(MediaHandle* h, int chans, int rate, int fmt_code) {
    return with_handle(h, 0, 0,
                       [&](MediaHandle& handle) { return audio::set_destination(handle, chans, rate, fmt_code); });
}

int qmio_sample_size(MediaHandle* h) {
    return with_handle(h, 0, 0, [](MediaHandle& handle) { return audio::sample_bytes(handle.audio.user_fmt); });
}
