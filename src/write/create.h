// Making a file to write: its container, its encoders, its output, its header.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/handle/media_handle.h"
#include "core/text/names.h"
#include "write/creation_keys.h"
#include "write/creation_options.h"

namespace qmio::write {

inline constexpr const wchar_t* kCreateTag = L"qmio_create_u8";

// What the steps of making a file share.
struct Creation {
    MediaHandle& handle;
    char* block;  // the host's memory block to write to; null: the handle's name is that of a file
    const Options& options;
    Options for_ffmpeg;  // those of them that FFmpeg gets
    AskedFile asked;
    uint32_t output_flags;
    ffmpeg::Dictionary format_options = {};
    const wchar_t* tag = kCreateTag;  // of the trace lines
    ffmpeg::Dictionary known = {};    // options that something of FFmpeg's has taken, by their keys there
};

// The name without what stands behind a '|', which belongs to the host.
std::string file_name_of(const Request& request);

// What a failed creation was about, for qmio_why.
void tell_failed_making(const std::optional<Request>& request);

// An empty container for the handle's file and what writing works with beside it; false without a format, for one that
// cannot be completed here and when memory is short.
bool make_container(Creation& creation);

// The options that the container knows.
void collect_format_options(Creation& creation);

// Once container and encoders have been asked: tells the host which options none of them took.
void remark_unused_options(const Creation& creation);

// create_video.cpp, create_audio.cpp: the streams with their encoders, opened. False ends the creation; a stream that
// was not asked for, or that the container does not take, is no failure.
bool add_video(Creation& creation);
bool add_audio(Creation& creation);

// The tracks that were asked for, before any of them is opened: they are counted also where the creation fails.
void declare_tracks(Tracks& tracks, const AskedFile& asked);

// output.cpp: where the bytes go, and the container's header as the first of them.
bool open_output(Creation& creation);
bool open_file(MediaHandle& handle, uint32_t flags, const wchar_t* tag);
bool write_header(Creation& creation);
void tell_failed_header(const MediaHandle& handle);

// Takes the output away: the streams, the container and the open file, without completing anything.
void close_output(MediaHandle& handle);

// A codec context of the handle for a new stream; null when memory is short.
AVCodecContext* add_codec(Container& container, const AVCodec& encoder);

// What the encoder knows among the options, added by `add` and listed under `heading`.
using AddOptions = void (*)(AVCodecContext& codec, ffmpeg::Dictionary& dictionary, const Options& options);
ffmpeg::Dictionary encoder_options(Creation& creation, AVCodecContext& codec, AddOptions add, const wchar_t* heading);

// The rest of what both kinds of encoder are asked before they are opened.
void ask_for_global_header(const Container& container, AVCodecContext& codec, const wchar_t* text);
void set_compliance(const Creation& creation, AVCodecContext& codec, CreationKey key, const wchar_t* text);

// What the options tell players about the file: all tags of "metadata", and "timecode". FFmpeg makes the dictionary when
// it is null.
void add_metadata(AVDictionary** dictionary, const Options& options);
void add_timecode(AVDictionary** dictionary, const Options& options);

// Tags by their names.
void add_tags(AVDictionary** dictionary, const Options& tags);

}  // namespace qmio::write
