// Names as UTF-8 text, which the library takes, and as the paths of the file system.
#pragma once

#include <filesystem>
#include <string>

namespace host {

std::filesystem::path path_of(const std::string& utf8);
std::string utf8_of(const std::filesystem::path& path);

// True when `text` begins with `prefix` (lower case), whatever the case of the text.
bool has_prefix(const std::string& text, const std::string& prefix);

}  // namespace host
