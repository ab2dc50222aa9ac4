// The made files of sound, and what is in them.
#pragma once

#include <filesystem>
#include <string>
#include <utility>

#include "support/media.h"
#include "support/plain_sound.h"

namespace qmio::test {

inline std::filesystem::path sound(const std::string& name) {
    return media_path("sound/" + name);
}

inline PlainTrack plain_track(const std::filesystem::path& path, std::size_t track = 0) {
    return std::move(decode_plainly(path).at(track));
}

// All frames of a track as decoded.
inline Bytes decoded(const PlainTrack& track) {
    Bytes all;
    for (const Frame& frame : track.frames) {
        const Bytes part = delivered(block_of(*frame), track.form.format);
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

}  // namespace qmio::test
