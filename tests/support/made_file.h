// Small files that tests write through the library.
#pragma once

#include <filesystem>
#include <string>

#include "support/open_media.h"

namespace qmio::test {

inline constexpr int kMadeWidth = 64;
inline constexpr int kMadeHeight = 48;

// Options of a file with a picture of kMadeWidth x kMadeHeight in yuv420p, and `more`.
std::string video_options(const std::string& container, const std::string& encoder, const std::string& more = "");

Media create_file(const std::filesystem::path& path, const std::string& options, uint32_t flags = 0);

// Gray pictures of that form.
void write_pictures(const Media& media, int count);

// Makes a file of `count` pictures and closes it. False when it cannot be made.
bool make_file(const std::filesystem::path& path, const std::string& options, int count);

}  // namespace qmio::test
