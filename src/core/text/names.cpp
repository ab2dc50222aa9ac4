#include "core/text/names.h"

#include "core/process/settings.h"
#include "ffmpeg/ffmpeg.h"
#include "platform/text.h"

namespace qmio {

namespace {

constexpr std::size_t kMaxAnsiUnits = 512;
constexpr std::size_t kMaxNameBytes = 1023;

// Counted the same way on every system, whatever the width of its wide characters.
std::size_t utf16_units(const std::wstring& text) {
    std::size_t units = text.size();
    for (const wchar_t unit : text)
        units += (static_cast<uint32_t>(unit) >> 16) != 0 ? 1 : 0;
    return units;
}

std::optional<std::string> to_code_page(const std::wstring& wide) {
    std::string name = platform::narrow(wide, settings().code_page);
    if (name.size() > kMaxNameBytes)
        return std::nullopt;
    return name;
}

}  // namespace

std::optional<std::string> core_name(const char* ansi) {
    if (ansi == nullptr)
        return std::nullopt;
    const std::wstring wide = platform::widen(ansi, platform::kCodePageAnsi);
    if (utf16_units(wide) > kMaxAnsiUnits)
        return std::nullopt;
    return to_code_page(wide);
}

std::optional<std::string> core_name(const wchar_t* wide) {
    if (wide == nullptr)
        return std::nullopt;
    return to_code_page(wide);
}

std::optional<std::string> ansi_options(const wchar_t* wide, std::size_t limit) {
    if (wide == nullptr)
        return std::nullopt;
    std::string options = platform::narrow(wide, platform::kCodePageAnsi);
    if (options.size() > limit)
        return std::nullopt;
    return options;
}

std::optional<std::string> utf8_options(const char* ansi) {
    if (ansi == nullptr)
        return std::nullopt;
    return platform::narrow(platform::widen(ansi, platform::kCodePageAnsi), platform::kCodePageUtf8);
}

std::wstring wide_name(const char* name) {
    return platform::widen(name, settings().code_page);
}

std::string url_of(const std::string& name) {
    if (settings().code_page == platform::kCodePageUtf8)
        return name;
    return platform::narrow(wide_name(name.c_str()), platform::kCodePageUtf8);
}

bool has_prefix(const char* text, const char* prefix) {
    return av_stristart(text, prefix, nullptr) != 0;
}

}  // namespace qmio
