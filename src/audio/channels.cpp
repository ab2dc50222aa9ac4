#include "audio/channels.h"

#include <algorithm>
#include <numeric>

#include "core/handle/entry.h"
#include "qmio.h"

namespace qmio::audio {

int32_t channels_of(const Tracks& tracks, int32_t track) {
    const Track* const found = tracks.find(track);
    return found != nullptr ? found->delivered.channels : 0;
}

int32_t to_track_channel(const Tracks& tracks, int32_t file_channel) {
    // Unsigned arithmetic: any number may be asked, and the difference wraps around.
    uint32_t rest = static_cast<uint32_t>(file_channel);
    for (int32_t number = 0; number < kMaxTracks; ++number) {
        const uint32_t behind = rest - static_cast<uint32_t>(channels_of(tracks, number));
        if (static_cast<int32_t>(behind) < 0)
            return track_channel(number, static_cast<int32_t>(rest));
        // The last track's own channels stay in: hosts know numbers behind all tracks as track 16 with those counted.
        if (number + 1 < kMaxTracks)
            rest = behind;
    }
    return track_channel(kMaxTracks, static_cast<int32_t>(rest));
}

int32_t to_file_channel(const Tracks& tracks, int32_t track_channel) {
    const int32_t before = std::min<int32_t>(track_of(track_channel), kMaxTracks);
    uint32_t channel = static_cast<uint32_t>(channel_of(track_channel));
    for (int32_t number = 0; number < before; ++number)
        channel += static_cast<uint32_t>(channels_of(tracks, number));
    return static_cast<int32_t>(channel);
}

int32_t mapped_channel(const Sound& sound, int32_t user_channel) {
    const bool has_entry = user_channel >= 0 && user_channel < kMaxUserChannels;
    return has_entry ? sound.chan_map[static_cast<std::size_t>(user_channel)] : user_channel;
}

void map_channels_to_themselves(Sound& sound) {
    const std::ptrdiff_t channels = std::clamp<int32_t>(sound.user.channels, 0, kMaxUserChannels);
    std::iota(sound.chan_map.begin(), sound.chan_map.begin() + channels, 0);
}

namespace {

int32_t set_track(Sound& sound, const Tracks& tracks, int32_t number) {
    constexpr int32_t kFailed = 0;
    // A negative number is taken also where there are no tracks.
    if (number >= tracks.count())
        return kFailed;
    const ffmpeg::SoundForm& form = number < 0 ? tracks.first().delivered : tracks.find(number)->delivered;
    sound.cur_track = number;
    sound.user = {number < 0 ? sound.user.channels : form.channels, form.format, form.rate};
    return number;  // hosts get the number that they gave, though 0 cannot be told from a failure
}

void map_channel(Sound& sound, int32_t user_channel, int32_t file_channel) {
    if (user_channel >= 0 && user_channel < kMaxUserChannels)
        sound.chan_map[static_cast<std::size_t>(user_channel)] = file_channel;
}

int32_t channels_of_track(const MediaHandle& handle, int32_t number) {
    return number < 0 ? handle.sound.user.channels : channels_of(handle.tracks, number);
}

// The place in the list of tracks stands for the flat channel, as if every track before were mono: counting channels
// would give hosts of several stereo tracks other answers than they know.
int32_t stream_to_file_channel(const Tracks& tracks, int32_t stream) {
    return tracks.number_of_stream(stream);
}
int32_t file_channel_to_stream(const Tracks& tracks, int32_t file_channel) {
    const Track* const track = tracks.find(file_channel);
    return track != nullptr ? track->stream_index : kNotFound;
}

int32_t stream_to_track_channel(const Tracks& tracks, int32_t stream) {
    return to_track_channel(tracks, stream_to_file_channel(tracks, stream));
}

int32_t channels_of_stream(const MediaHandle& handle, int32_t stream) {
    if (stream < 0)
        return handle.sound.user.channels;
    return channels_of_track(handle, track_of(stream_to_track_channel(handle.tracks, stream)));
}

}  // namespace
}  // namespace qmio::audio

using namespace qmio;

int qmio_set_track(MediaHandle* h, int track) {
    return with_handle(h, 0, 0,
                       [&](MediaHandle& handle) { return audio::set_track(handle.sound, handle.tracks, track); });
}

int qmio_map_audio(MediaHandle* h, int user_channel, int ffch) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) {
        audio::map_channel(handle.sound, user_channel, ffch);
        return 0;
    });
}

int qmio_user_chans(MediaHandle* h) {
    return with_handle(h, 0, 0, [](MediaHandle& handle) { return handle.sound.user.channels; });
}

int qmio_track_chans(MediaHandle* h, int track) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) { return audio::channels_of_track(handle, track); });
}

int qmio_stream_chans(MediaHandle* h, int stream) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) { return audio::channels_of_stream(handle, stream); });
}

int qmio_ffch2trch(MediaHandle* h, int ffch) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) { return audio::to_track_channel(handle.tracks, ffch); });
}

int qmio_trch2ffch(MediaHandle* h, int trch) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) { return audio::to_file_channel(handle.tracks, trch); });
}

int qmio_stream2ffch(MediaHandle* h, int stream) {
    return with_handle(h, audio::kNotFound, audio::kNotFound,
                       [&](MediaHandle& handle) { return audio::stream_to_file_channel(handle.tracks, stream); });
}

int qmio_ffch2stream(MediaHandle* h, int ffch) {
    return with_handle(h, audio::kNotFound, audio::kNotFound,
                       [&](MediaHandle& handle) { return audio::file_channel_to_stream(handle.tracks, ffch); });
}

int qmio_stream2trch(MediaHandle* h, int stream) {
    constexpr int32_t kNowhere = audio::track_channel(0, audio::kNotFound);
    return with_handle(h, kNowhere, kNowhere,
                       [&](MediaHandle& handle) { return audio::stream_to_track_channel(handle.tracks, stream); });
}

int qmio_trch2stream(MediaHandle* h, int trch) {
    return with_handle(h, audio::kNotFound, audio::kNotFound, [&](MediaHandle& handle) {
        return audio::file_channel_to_stream(handle.tracks, audio::to_file_channel(handle.tracks, trch));
    });
}
