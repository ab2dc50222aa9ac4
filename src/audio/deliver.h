// From the decoded frame to the host's buffer.
#pragma once

#include <optional>
#include <string>

#include "core/handle/media_handle.h"

namespace qmio::audio {

// Channels that a frame of this track is delivered with: the host's, or the track's own when all are read together.
int32_t delivered_channels(const Sound& sound, const Track& track);

// Writes the frame decoded last into `buffer`, converted and mapped. Returns the bytes written, or nothing when it
// could not be converted.
std::optional<int32_t> deliver_frame(Track& track, Sound& sound, uint8_t* buffer);

// The first `channels` entries of the channel map as traces show them.
std::wstring map_text(const Sound& sound, int32_t channels);

}  // namespace qmio::audio
