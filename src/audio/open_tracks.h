// Audio streams of a source become its tracks.
#pragma once

#include "core/media_handle.h"

namespace qmio::audio {

// Numbers the audio streams in container order, at most kMaxTracks of them.
void find_tracks(MediaHandle& handle);

// Opens every track's decoder. False when one cannot be opened: audio is then disabled for the whole handle, which
// stays good for video; `track_count` still tells how many tracks there are.
bool open_tracks(MediaHandle& handle);

}  // namespace qmio::audio
