// Opening a source: from a name and options to a handle that is ready for reading.
#pragma once

#include <optional>

#include "core/handle/media_handle.h"
#include "core/text/names.h"
#include "ffmpeg/owners.h"

namespace qmio::read {

inline constexpr const wchar_t* kOpenTag = L"qmio_open_u8";

// Null on any failure, and for no request.
MediaHandle* open(const std::optional<Request>& request);

// The steps of opening, in the order in which they run. False ends the open.
bool open_container(Container& container, const Request& request, ffmpeg::Dictionary& options);
bool probe_streams(MediaHandle& handle);
bool open_video(MediaHandle& handle, const Options& options);
void find_first_video(const Container& container, Video& video);
void attach_frame_index(MediaHandle& handle);

}  // namespace qmio::read
