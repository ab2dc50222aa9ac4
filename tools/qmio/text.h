// Names as UTF-8 text, as the paths of the file system, and as the wide text that the library takes.
#pragma once

#include <filesystem>
#include <string>

namespace host {

std::filesystem::path path_of(const std::string& utf8);
std::string utf8_of(const std::filesystem::path& path);

// Throws std::system_error for text that is not UTF-8.
std::wstring wide_of(const std::string& utf8);

// True when `text` begins with `prefix` (lower case), whatever the case of the text.
bool has_prefix(const std::string& text, const std::string& prefix);

}  // namespace host
