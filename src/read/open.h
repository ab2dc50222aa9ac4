// Opening a source: from a name and options to a handle that is ready for reading.
#pragma once

#include <optional>

#include "core/handle/media_handle.h"
#include "core/text/names.h"
#include "ffmpeg/owners.h"
#include "read/source.h"

namespace qmio::read {

inline constexpr const wchar_t* kOpenTag = L"qmio_open_u8";

// Null on any failure, and for no request.
MediaHandle* open(const std::optional<Request>& request);

// The options of one kind of the configuration's entries, and those that the container gets of all.
ffmpeg::Dictionary configured_options(const char* entry);
ffmpeg::Dictionary container_options(AVFormatContext& context, const Request& request);

// How long a network source may stand still, by the option "timeout"; 0 and below: for ever.
StallWatch::Limit time_limit(const ffmpeg::Dictionary& options);

// The device that stands behind "dshow:", with "//" before it or without.
std::string capture_device(const std::string& name, uint32_t code_page = settings().code_page);

// A name as an address for FFmpeg.
std::string plain_url(const Request& request);

// Opens a source whose bytes come from us. What its contents name is not opened unless the configuration allows it.
bool open_custom(Container& container, std::unique_ptr<qmlib::InputSource> source, const std::string& url,
                 const AVInputFormat* format, ffmpeg::Dictionary& options);

// The steps of opening, in the order in which they run. False ends the open.
bool open_container(Container& container, const Request& request, ffmpeg::Dictionary& options);
bool open_bytes(Container& container, const Request& request, ffmpeg::Dictionary& options);
bool probe_streams(MediaHandle& handle);

// The first steps, for any container: opening it, and what FFmpeg finds out about its streams, with its result.
bool open_source(Container& container, const Request& request);
int find_stream_info(AVFormatContext& context);

bool open_video(MediaHandle& handle, const Options& options);
void find_first_video(const Container& container, Video& video);
void attach_frame_index(MediaHandle& handle);

// Opens the video decoder anew, with one thread and otherwise as it was: nothing that it decoded is left in it, as is
// after it was flushed. Where that fails, it stays as it is.
void renew_decoder(Source& source);

}  // namespace qmio::read
