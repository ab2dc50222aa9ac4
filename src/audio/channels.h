// The three names of a channel: a stream, a flat file channel (the channels of track 0 first, then those of track 1,
// and so on), and a track with a channel of its own in one word.
#pragma once

#include <cstdint>

#include "core/handle/media_handle.h"

namespace qmio::audio {

inline constexpr int32_t kNotFound = -1;

// The two halves of a track and channel word.
constexpr int32_t track_channel(int32_t track, int32_t channel) {
    return static_cast<int32_t>(static_cast<uint32_t>(track) << 16 | (static_cast<uint32_t>(channel) & 0xFFFF));
}
constexpr int32_t track_of(int32_t track_channel) {
    return track_channel >> 16 & 0xFFFF;
}
constexpr int32_t channel_of(int32_t track_channel) {
    return track_channel & 0xFFFF;
}

constexpr bool is_track(int32_t track) {
    return track >= 0 && track < kMaxTracks;
}

// Channels of a track as the host is told; 0 for a number that is none's.
int32_t channels_of(const Tracks& tracks, int32_t track);

int32_t to_track_channel(const Tracks& tracks, int32_t file_channel);
int32_t to_file_channel(const Tracks& tracks, int32_t track_channel);

// The file channel that feeds a channel of the host; beyond the map's end channels feed themselves.
int32_t mapped_channel(const Sound& sound, int32_t user_channel);
void map_channels_to_themselves(Sound& sound);

}  // namespace qmio::audio
