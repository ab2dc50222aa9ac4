#include "audio/channels.h"

#include <algorithm>

#include "core/entry.h"
#include "qmio.h"

namespace qmio::audio {

int32_t to_track_channel(const AudioState& audio, int32_t file_channel) {
    // Unsigned arithmetic: any number may be asked, and the difference wraps around.
    uint32_t rest = static_cast<uint32_t>(file_channel);
    for (int32_t track = 0; track < kMaxTracks; ++track) {
        const uint32_t behind = rest - static_cast<uint32_t>(audio.track_chans[static_cast<std::size_t>(track)]);
        if (static_cast<int32_t>(behind) < 0)
            return track_channel(track, static_cast<int32_t>(rest));
        // Behind the last track it is deliberate that that track's own channels are not taken off.
        if (track + 1 < kMaxTracks)
            rest = behind;
    }
    return track_channel(kMaxTracks, static_cast<int32_t>(rest));
}

int32_t to_file_channel(const AudioState& audio, int32_t track_channel) {
    const int32_t before = std::min<int32_t>(track_of(track_channel), kMaxTracks);
    uint32_t channel = static_cast<uint32_t>(channel_of(track_channel));
    for (int32_t track = 0; track < before; ++track)
        channel += static_cast<uint32_t>(audio.track_chans[static_cast<std::size_t>(track)]);
    return static_cast<int32_t>(channel);
}

int32_t mapped_channel(const AudioState& audio, int32_t user_channel) {
    const bool has_entry = user_channel >= 0 && user_channel < kMaxUserChannels;
    return has_entry ? audio.chan_map[static_cast<std::size_t>(user_channel)] : user_channel;
}

void map_channels_to_themselves(AudioState& audio) {
    const int32_t channels = std::clamp<int32_t>(audio.user_chans, 0, kMaxUserChannels);
    for (int32_t channel = 0; channel < channels; ++channel)
        audio.chan_map[static_cast<std::size_t>(channel)] = channel;
}

namespace {

int32_t set_track(AudioState& audio, int32_t track) {
    constexpr int32_t kFailed = 0;
    // A negative number is taken also where there are no tracks.
    if (track >= audio.track_count)
        return kFailed;
    const std::size_t source = static_cast<std::size_t>(std::max(track, 0));
    audio.cur_track = track;
    if (track >= 0)
        audio.user_chans = audio.track_chans[source];
    audio.user_fmt = audio.track_fmt[source];
    audio.user_rate = audio.track_rate[source];
    return track;  // deliberately, though for track 0 it cannot be told from a failure
}

void map_channel(AudioState& audio, int32_t user_channel, int32_t file_channel) {
    if (user_channel >= 0 && user_channel < kMaxUserChannels)
        audio.chan_map[static_cast<std::size_t>(user_channel)] = file_channel;
}

int32_t channels_of_track(const AudioState& audio, int32_t track) {
    if (track < 0)
        return audio.user_chans;
    return is_track(track) ? audio.track_chans[static_cast<std::size_t>(track)] : 0;
}

// Deliberate: the place in the list of tracks stands for the flat channel, as if every track before were mono.
int32_t stream_to_file_channel(const AudioState& audio, int32_t stream) {
    return find_track(audio, stream);
}
int32_t file_channel_to_stream(const AudioState& audio, int32_t file_channel) {
    return is_track(file_channel) ? audio.track_stream[static_cast<std::size_t>(file_channel)] : kNotFound;
}

int32_t stream_to_track_channel(const AudioState& audio, int32_t stream) {
    return to_track_channel(audio, stream_to_file_channel(audio, stream));
}

int32_t channels_of_stream(const AudioState& audio, int32_t stream) {
    if (stream < 0)
        return audio.user_chans;
    return channels_of_track(audio, track_of(stream_to_track_channel(audio, stream)));
}

}  // namespace
}  // namespace qmio::audio

using namespace qmio;

int qmio_set_track(MediaHandle* h, int track) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) { return audio::set_track(handle.audio, track); });
}

int qmio_map_audio(MediaHandle* h, int user_channel, int ffch) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) {
        audio::map_channel(handle.audio, user_channel, ffch);
        return 0;
    });
}

int qmio_user_chans(MediaHandle* h) {
    return with_handle(h, 0, 0, [](MediaHandle& handle) { return handle.audio.user_chans; });
}

int qmio_track_chans(MediaHandle* h, int track) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) { return audio::channels_of_track(handle.audio, track); });
}

int qmio_stream_chans(MediaHandle* h, int stream) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) { return audio::channels_of_stream(handle.audio, stream); });
}

int qmio_ffch2trch(MediaHandle* h, int ffch) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) { return audio::to_track_channel(handle.audio, ffch); });
}

int qmio_trch2ffch(MediaHandle* h, int trch) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) { return audio::to_file_channel(handle.audio, trch); });
}

int qmio_stream2ffch(MediaHandle* h, int stream) {
    return with_handle(h, audio::kNotFound, audio::kNotFound,
                       [&](MediaHandle& handle) { return audio::stream_to_file_channel(handle.audio, stream); });
}

int qmio_ffch2stream(MediaHandle* h, int ffch) {
    return with_handle(h, audio::kNotFound, audio::kNotFound,
                       [&](MediaHandle& handle) { return audio::file_channel_to_stream(handle.audio, ffch); });
}

int qmio_stream2trch(MediaHandle* h, int stream) {
    constexpr int32_t kNowhere = audio::track_channel(0, audio::kNotFound);
    return with_handle(h, kNowhere, kNowhere,
                       [&](MediaHandle& handle) { return audio::stream_to_track_channel(handle.audio, stream); });
}

int qmio_trch2stream(MediaHandle* h, int trch) {
    return with_handle(h, audio::kNotFound, audio::kNotFound, [&](MediaHandle& handle) {
        return audio::file_channel_to_stream(handle.audio, audio::to_file_channel(handle.audio, trch));
    });
}
