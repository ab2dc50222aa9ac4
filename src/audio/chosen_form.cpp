// The form of sound that the host wants, and the resamplers that lead to it.
#include <algorithm>

#include "audio/channels.h"
#include "audio/deliver.h"
#include "audio/release.h"
#include "audio/sample_formats.h"
#include "core/handle/entry.h"
#include "core/process/trace.h"
#include "qmio.h"

namespace qmio::audio {
namespace {

constexpr const wchar_t* kTag = L"qmio_set_dst_audio";

// Calls `routine` with the number of each track whose codec is open, and the track.
template <class AnyTracks, class Routine>
void for_each_open_track(AnyTracks& tracks, Routine&& routine) {
    int number = 0;
    for (auto& track : tracks) {
        if (track.codec != nullptr)
            routine(number, track);
        ++number;
    }
}

// A reader's tracks tell what is delivered from now on.
void tell_delivered_forms(Tracks& tracks, const Sound& sound) {
    for_each_open_track(tracks, [&](int number, Track& track) {
        track.file = ffmpeg::form_of(*track.codec);
        const bool all = sound.cur_track < 0;
        if (!all && sound.cur_track != number)
            return;
        track.delivered = sound.user;
        if (all)
            track.delivered.channels = track.file.channels;
    });
}

bool must_resample(const Tracks& tracks, const ffmpeg::SoundForm& user, const AVCodecContext& first) {
    bool differs =
        ffmpeg::default_layout_mask(first.ch_layout.nb_channels) != ffmpeg::default_layout_mask(user.channels);
    for_each_open_track(tracks, [&](int, const Track& track) {
        differs = differs || track.codec->sample_rate != user.rate || track.codec->sample_fmt != user.format;
    });
    return differs;
}

// All tracks at once: every one is resampled as if it were the first, its rate above all, so that all give as many
// samples for as many: a track at another rate plays at the wrong speed. Only where its frames have another shape,
// which that resampler could not read, is it made from the track's own form.
void make_track_resamplers(Tracks& tracks, const ffmpeg::SoundForm& user, const ffmpeg::SoundForm& first) {
    for_each_open_track(tracks, [&](int number, Track& track) {
        const ffmpeg::SoundForm own = ffmpeg::form_of(*track.codec);
        const bool alike = own.channels == first.channels && own.format == first.format;
        const ffmpeg::SoundForm& from = alike ? first : own;
        track.swr.prepare(from, {from.channels, user.format, user.rate});
        if (!track.swr.init())
            trace(TraceSwitch::audio, kTag, L"swr_init failed on track %d\n", number);
    });
}

// The resampler of the current track, from the host's form in a writer, else to it.
void make_resamplers(Sound& sound, Tracks& tracks, const Track& track, bool to_file) {
    const int32_t number = std::max(sound.cur_track, 0);
    const ffmpeg::SoundForm file = ffmpeg::form_of(*track.codec);
    if (to_file) {
        sound.swr.prepare(sound.user, file);
        trace(TraceSwitch::audio, kTag, L"track %d: user -> file, ctx %p\n", number, sound.swr.address());
    } else {
        sound.swr.prepare(file, sound.user);
        trace(TraceSwitch::audio, kTag, L"track %d: file -> user, ctx %p\n", number, sound.swr.address());
        if (sound.cur_track < 0)
            make_track_resamplers(tracks, sound.user, file);
    }
    if (!sound.swr.init())
        trace(TraceSwitch::audio, kTag, L"swr_init failed\n");
    trace(TraceSwitch::audio, kTag, L"need resample, ctx %p\n", sound.swr.address());
    sound.need_resample = static_cast<bool>(sound.swr);
}

void trace_choice(const Sound& sound, const Tracks& tracks) {
    int32_t channels = 0;
    for_each_open_track(tracks, [&](int, const Track& track) { channels += track.codec->ch_layout.nb_channels; });
    trace(TraceSwitch::audio, kTag, L"dst channels %d, src streams %d, channels %d\n", sound.user.channels,
          tracks.count(), channels);
    if (tracing(TraceSwitch::audio) && tracing(TraceSwitch::open))
        trace(TraceSwitch::open, kTag, L"%s", map_text(sound, sound.user.channels).c_str());
}

int32_t choose_form(MediaHandle& handle, int32_t channels, int32_t rate, int32_t format_code) {
    constexpr int32_t kFailed = 0;
    constexpr int32_t kDone = 1;
    Sound& sound = handle.sound;
    const Track* const track = handle.tracks.find(std::max(sound.cur_track, 0));
    if (handle.tracks.first().codec == nullptr || track == nullptr || track->codec == nullptr)
        return kFailed;
    const AVSampleFormat format = sample_format_from_code(format_code);
    release_resamplers(sound, handle.tracks);
    sound.user = {std::max(channels, 0), sound.cur_track < 0 ? av_get_packed_sample_fmt(format) : format, rate};
    if (!is_writer(handle))
        tell_delivered_forms(handle.tracks, sound);
    map_channels_to_themselves(sound);
    sound.need_resample = must_resample(handle.tracks, sound.user, *track->codec);
    if (sound.need_resample)
        make_resamplers(sound, handle.tracks, *track, is_writer(handle));
    trace_choice(sound, handle.tracks);
    return kDone;
}

}  // namespace
}  // namespace qmio::audio

using namespace qmio;

int qmio_set_dst_audio(MediaHandle* h, int chans, int rate, int fmt_code) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) { return audio::choose_form(handle, chans, rate, fmt_code); });
}

int qmio_sample_size(MediaHandle* h) {
    return with_handle(h, 0, 0, [](MediaHandle& handle) { return audio::sample_bytes(handle.sound.user.format); });
}
