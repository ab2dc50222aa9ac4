// Files copied by packets, through the library and by the ffmpeg program, and what that program decodes from them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/open_media.h"

namespace qmio::test {

// A file that takes packets of `video`, and of `sound` where that is not null.
Media mux(const std::filesystem::path& path, const std::string& options, const Media& video, const Media& sound);

// How many packets of each kind were written until the input ended or writing failed.
struct Copied {
    int video = 0;
    int sound = 0;
    int error = 0;  // 0: there was none
};
Copied copy_packets(const Media& mux, const Media& source, int most = 1 << 30);

// The whole of a file, both streams. False when it is refused, at the beginning or on the way.
bool remux(const std::filesystem::path& from, const std::filesystem::path& to, const std::string& options);

// The same by the ffmpeg program.
bool remux_by_program(const std::filesystem::path& from, const std::filesystem::path& to, const std::string& container);

// What the ffmpeg program decodes from the first video stream, unturned.
struct ProgramFrames {
    std::vector<std::string> hashes;
    double seconds = 0;  // from the first picture to the last
    std::string complaints;
};
ProgramFrames program_frames(const std::filesystem::path& path);

}  // namespace qmio::test
