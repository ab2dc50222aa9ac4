// A model of how sound in calls of any length becomes frames of one length.
#pragma once

#include <vector>

#include "support/plain_sound.h"

namespace qmio::test {

// The frames of `frame` samples that an encoder gets when a host makes these calls and closes. The ring between them
// holds 48,000 samples, or those and a frame where a frame is longer than half of them. What a call brings beyond the
// room that there is when it begins goes on, once whole frames are taken out, from as many bytes behind its beginning as
// samples found room. At the end silence fills up the last frame, by a length counted in values of all channels.
std::vector<Bytes> frames_through_ring(const SoundForm& form, int frame, const std::vector<Bytes>& calls);

// Frames, each as it lies in a host's buffer, packed and joined.
Bytes packed(const SoundForm& form, const std::vector<Bytes>& frames);

}  // namespace qmio::test
