// Opening a source: from a name and options to a handle that is ready for reading.
#pragma once

#include "core/handle/media_handle.h"
#include "ffmpeg/owners.h"

namespace qmio::read {

inline constexpr const wchar_t* kOpenTag = L"qmio_open_u8";

// `name` is narrow text of the configured code page, or a memory block that begins with "mem:". Null on any failure.
MediaHandle* open_core(const char* name, const char* options);

// The steps of opening, in the order in which they run. False ends the open.
bool open_container(Container& container, const char* name, ffmpeg::Dictionary& options);
bool probe_streams(MediaHandle& handle);
bool open_video(MediaHandle& handle, const char* options);
void find_first_video(const Container& container, Video& video);
void attach_frame_index(MediaHandle& handle);

}  // namespace qmio::read
