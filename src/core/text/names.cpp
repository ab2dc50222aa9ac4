#include "core/text/names.h"

#include <cstring>
#include <utility>

#include "core/process/settings.h"
#include "core/text/memory_block.h"
#include "ffmpeg/ffmpeg.h"
#include "platform/file.h"
#include "platform/text.h"

namespace qmio {

namespace {

constexpr std::size_t kMaxAnsiUnits = 512;
constexpr std::size_t kMaxNameBytes = 1023;
constexpr std::size_t kMaxWideOptions = 4095;  // bytes

// Counted the same way on every system, whatever the width of its wide characters.
std::size_t utf16_units(const std::wstring& text) {
    std::size_t units = text.size();
    for (const wchar_t unit : text)
        units += (static_cast<uint32_t>(unit) >> 16) != 0 ? 1 : 0;
    return units;
}

// A name in the configured code page. Some code pages make the prefix of a memory block out of other letters; what is
// no block's address must not be taken for one.
std::optional<std::string> core_name(const std::wstring& wide) {
    std::string name = platform::narrow(wide, settings().code_page);
    if (name.size() > kMaxNameBytes || memory_block::is_block(name.c_str()))
        return std::nullopt;
    return name;
}

// Options of the ANSI code page.
Options options_of(const char* ansi) {
    if (ansi == nullptr)
        return Options();
    const std::wstring wide = platform::widen(ansi, platform::kCodePageAnsi);
    return Options(platform::narrow(wide, platform::kCodePageUtf8).c_str());
}

}  // namespace

std::optional<Request> request(const char* name, const char* options) {
    if (name == nullptr)
        return std::nullopt;
    if (memory_block::is_block(name))
        // That the host's block is written to is what a memory target means.
        return Request{memory_block::header_text(name), const_cast<char*>(name), options_of(options), {}};
    const std::wstring wide = platform::widen(name, platform::kCodePageAnsi);
    std::optional<std::string> converted = utf16_units(wide) <= kMaxAnsiUnits ? core_name(wide) : std::nullopt;
    if (!converted)
        return std::nullopt;
    return Request{std::move(*converted), nullptr, options_of(options), {}};
}

std::optional<Request> request(const wchar_t* name, const wchar_t* options) {
    if (name == nullptr)
        return std::nullopt;
    std::optional<std::string> converted = core_name(name);
    if (!converted)
        return std::nullopt;
    // By way of the ANSI code page, which loses letters that it lacks: options are the same text whichever way they
    // come, and hosts find the same tags in their files.
    const std::string ansi = options != nullptr ? platform::narrow(options, platform::kCodePageAnsi) : std::string();
    if (ansi.size() > kMaxWideOptions)
        return std::nullopt;
    return Request{std::move(*converted), nullptr, options_of(options != nullptr ? ansi.c_str() : nullptr), {}};
}

std::optional<Request> request_in_code_page(const char* name, const char* options) {
    if (name == nullptr || std::strlen(name) > kMaxNameBytes || memory_block::is_block(name))
        return std::nullopt;
    return Request{name, nullptr, options_of(options), {}};
}

Request request_of_bytes(const char* name, SourceMaker bytes, const char* options) {
    return Request{name, nullptr, options_of(options), std::move(bytes)};
}

std::wstring wide_name(const char* name) {
    return platform::widen(name, settings().code_page);
}

std::string url_of(const std::string& name) {
    return platform::library_file_name(name, settings().code_page);
}

std::string message_text(const char* text) {
    using namespace platform;
    const bool is_utf8 =
        settings().code_page == kCodePageUtf8 || narrow(widen(text, kCodePageUtf8), kCodePageUtf8) == text;
    return is_utf8 ? text : narrow(wide_name(text), kCodePageUtf8);
}

bool has_prefix(const char* text, const char* prefix) {
    return av_stristart(text, prefix, nullptr) != 0;
}

}  // namespace qmio
