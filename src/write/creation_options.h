// What an option string says about a new file: container, encoders, picture, audio tracks, tags.
#pragma once

#include <cstdint>

#include "core/media_handle.h"

namespace qmio {

// Fills `state` from the creation keys of `options`; what they do not mention stays as it is, and so does everything
// for null. Unknown names are no errors: they leave a null container or encoder, or -1 as a format. Audio parameters
// belong to the audio encoder named before them; those that come before the first one, and encoders beyond the
// kMaxTracks-th with their parameters, are ignored.
void read_creation_options(WriterState& state, const char* options);

}  // namespace qmio
