// From the decoded frame to the host's buffer.
#pragma once

#include <optional>
#include <string>

#include "core/media_handle.h"

namespace qmio::audio {

// Channels that a frame of this track is delivered with: the host's, or the track's own when all are read together.
int32_t delivered_channels(const AudioState& audio, std::size_t track);

// Writes the frame decoded last into `buffer`, converted and mapped. Returns the bytes written, or nothing when it
// could not be converted.
std::optional<int32_t> deliver_frame(MediaHandle& handle, std::size_t track, uint8_t* buffer);

// The first `channels` entries of the channel map as traces show them.
std::wstring map_text(const AudioState& audio, int32_t channels);

}  // namespace qmio::audio
