// Taking down what sound holds.
#pragma once

#include "core/handle/media_handle.h"

namespace qmio::audio {

void release_resamplers(Sound& sound, Tracks& tracks);

// Everything of the tracks but what belongs to the container.
void release(Sound& sound, Tracks& tracks);

}  // namespace qmio::audio
