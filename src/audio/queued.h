// Sound that was read in the background.
#pragma once

#include "core/handle/media_handle.h"

namespace qmio::audio {

// Decodes the packets in hand, one track after the other, into the channels of `buffer` that the channel map gives to
// each. Returns the bytes of the longest; 0 without packets.
int32_t deliver_queued(MediaHandle& handle, uint8_t* buffer);

}  // namespace qmio::audio
