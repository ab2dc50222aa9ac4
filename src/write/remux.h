// Making a file that takes packets of other files as they are.
#pragma once

#include "write/create.h"

namespace qmio::write {

inline constexpr const wchar_t* kMuxTag = L"qmio_mux_u8";

// remux_streams.cpp: the streams, described as those of the sources are; they take each source's call lock while they
// read it. False ends the making.
bool add_copied_video(MediaHandle& handle, MediaHandle& source);

// The sound of the source's track 0; a source without one that can be decoded adds none.
bool add_copied_sound(MediaHandle& handle, MediaHandle& source);

// copy_frame.cpp: writes the packet that the source read last, or does nothing where it is of no stream of the file.
// A QMIO_PACKET_ code or a negative FFmpeg error.
int copy_frame(MediaHandle& handle, MediaHandle& source);

}  // namespace qmio::write
