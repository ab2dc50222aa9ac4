// The keys of an option text that mean something to the library when it makes a file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/text/options.h"

namespace qmio::write {

enum class CreationKey {
    none,  // not one of these keys
    container,
    video_encoder,
    pixel_format,
    width,
    height,
    size,
    frame_rate,
    field_order,
    video_tag,
    video_compliance,
    audio_encoder,
    channels,
    sample_rate,
    sample_format,
    audio_tag,
    audio_bit_rate,
    audio_compliance,
    metadata,
    timecode,
    tag,
};

// What `key` means, compared byte for byte. All of "tag:NAME", "tag:v:NAME" and "tag:a:NAME" are tags.
CreationKey creation_key(std::string_view key);

// The value of the first pair with a key that means this; null when there is none.
const std::string* find(const Options& options, CreationKey key);

// The first number above or below 0 under the names of this key, in the order of the table; 0 when there is none.
int32_t find_number(const Options& options, CreationKey key);

// The pairs that FFmpeg gets: those that the library does not know, and those that it shares with FFmpeg. FFmpeg has
// options named "ar" and "ac" too; handed on, one track's would end up in all of them, so they are not among these, nor
// with a suffix ("ar:a"), which no longer names a track.
Options for_ffmpeg(const Options& options);

}  // namespace qmio::write
