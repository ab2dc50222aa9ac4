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

// path::wstring() would do on Windows alone: elsewhere it follows the program's locale, which is not UTF-8.
std::wstring wide_of(const std::string& utf8) {
    if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
        const std::u16string text = path_of(utf8).u16string();
        return {text.begin(), text.end()};
    } else {
        const std::u32string text = path_of(utf8).u32string();
        return {text.begin(), text.end()};
    }
}

bool has_prefix(const std::string& text, const std::string& prefix) {
    const auto same = [](char wanted, char given) { return std::tolower(static_cast<unsigned char>(given)) == wanted; };
    return text.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), text.begin(), same);
}

}  // namespace host
