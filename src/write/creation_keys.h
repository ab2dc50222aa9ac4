// The keys of an option string that describe the new file itself; every other key is left to FFmpeg's options.
#pragma once

#include <string_view>

namespace qmio {

enum class CreationKey {
    none,  // not one of these keys
    container,
    video_encoder,
    pixel_format,
    width,
    height,
    size,
    audio_encoder,
    channels,
    sample_rate,
    sample_format,
    video_tag,
    audio_tag,
};

// Which of them `key` names, compared byte for byte.
CreationKey creation_key(std::string_view key);

}  // namespace qmio
