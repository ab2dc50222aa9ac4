#include "text.h"

#include <algorithm>
#include <cctype>

namespace host {

std::filesystem::path path_of(const std::string& utf8) {
    return std::u8string(utf8.begin(), utf8.end());
}

std::string utf8_of(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

bool has_prefix(const std::string& text, const std::string& prefix) {
    const auto same = [](char wanted, char given) { return std::tolower(static_cast<unsigned char>(given)) == wanted; };
    return text.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), text.begin(), same);
}

}  // namespace host
