// Samples into packets, packets into the file.
#pragma once

#include "core/handle/media_handle.h"

namespace qmio::write {

// Adds samples, in the form of the track, or as many bytes of silence for null, which encoders of any frame length
// refuse. Returns what qmio_write_track returns.
int32_t write_track(MediaHandle& handle, int32_t track, const uint8_t* data, int32_t bytes);

// Says why (core/process/why.h) where it is below 0.
void tell_refused_track(const MediaHandle& handle, int32_t track, int32_t result);

// Fills every track's last frame with silence, and so writes it.
void finish_tracks(MediaHandle& handle);

}  // namespace qmio::write
