// Audio streams of a source become its tracks.
#pragma once

#include "core/handle/media_handle.h"

namespace qmio::audio {

// Numbers the audio streams in container order, at most kMaxTracks of them.
void find_tracks(const Container& container, Tracks& tracks);

// Opens every track's decoder. False when one cannot be opened: audio is then disabled for the whole handle, which
// stays good for video; the tracks are still counted.
bool open_tracks(const Container& container, Sound& sound, Tracks& tracks);

}  // namespace qmio::audio
