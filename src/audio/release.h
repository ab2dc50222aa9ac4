// Taking down what sound holds.
#pragma once

#include "core/handle/media_handle.h"

namespace qmio::audio {

void release_resamplers(Sound& sound, Tracks& tracks);

// The frame, the resamplers, and what the tracks of a file being written wait in; the rest goes with the handle.
void release(Sound& sound, Tracks& tracks);

}  // namespace qmio::audio
