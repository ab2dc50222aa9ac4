// A file by FFmpeg's plain calls: what the library's answers about it are held against.
#pragma once

#include <vector>

#include "audio/plain_sound.h"

namespace qmio::test {

Container open_plainly(const std::filesystem::path& path);

// The first video stream's pictures in the order in which they are shown.
std::vector<Frame> pictures_of(const std::filesystem::path& path);

}  // namespace qmio::test
