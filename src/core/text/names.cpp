#include "core/text/names.h"

#include <cstring>
#include <utility>

#include "core/process/settings.h"
#include "core/process/why.h"
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

std::nullopt_t refused(int code, const char* reason) {
    why::failed(code, "%s", reason);
    return std::nullopt;
}

std::nullopt_t no_name() {
    return refused(AVERROR(EINVAL), "there is no name");
}

std::nullopt_t name_is_too_long() {
    return refused(AVERROR(ENAMETOOLONG), "the name is longer than 1,023 bytes, or 512 units of UTF-16");
}

std::nullopt_t block_has_no_such_name() {
    return refused(AVERROR(EINVAL), "a memory block cannot be named so");
}

// A name in the configured code page. Some code pages make the prefix of a memory block out of other letters; what is
// no block's address must not be taken for one.
std::optional<std::string> core_name(const std::wstring& wide) {
    std::string name = platform::narrow(wide, settings().code_page);
    if (name.size() > kMaxNameBytes)
        return name_is_too_long();
    if (memory_block::is_block(name.c_str()))
        return block_has_no_such_name();
    return name;
}

// Options of the ANSI code page.
Options options_of(const char* ansi) {
    if (ansi == nullptr)
        return Options();
    const std::wstring wide = platform::widen(ansi, platform::kCodePageAnsi);
    return Options(platform::narrow(wide, platform::kCodePageUtf8).c_str());
}

bool is_utf8(const char* text) {
    using namespace platform;
    return text == nullptr || narrow(widen(text, kCodePageUtf8), kCodePageUtf8) == text;
}

// That the host's block is written to is what a memory target means.
Request block_request(const char* block, Options options) {
    return Request{memory_block::header_text(block), const_cast<char*>(block), std::move(options)};
}

}  // namespace

std::optional<Request> request(const char* name, const char* options) {
    if (name == nullptr)
        return no_name();
    if (memory_block::is_block(name))
        return block_request(name, options_of(options));
    const std::wstring wide = platform::widen(name, platform::kCodePageAnsi);
    if (utf16_units(wide) > kMaxAnsiUnits)
        return name_is_too_long();
    std::optional<std::string> converted = core_name(wide);
    if (!converted)
        return std::nullopt;
    return Request{std::move(*converted), nullptr, options_of(options)};
}

std::optional<Request> request(const wchar_t* name, const wchar_t* options) {
    if (name == nullptr)
        return no_name();
    std::optional<std::string> converted = core_name(name);
    if (!converted)
        return std::nullopt;
    // By way of the ANSI code page, which loses letters that it lacks: options are the same text whichever way they
    // come, and hosts find the same tags in their files.
    const std::string ansi = options != nullptr ? platform::narrow(options, platform::kCodePageAnsi) : std::string();
    if (ansi.size() > kMaxWideOptions)
        return refused(AVERROR(E2BIG), "the options are longer than 4,095 bytes");
    return Request{std::move(*converted), nullptr, options_of(options != nullptr ? ansi.c_str() : nullptr)};
}

std::optional<Request> request_in_utf8(const char* name, const char* options) {
    if (name == nullptr)
        return no_name();
    if (!is_utf8(options))
        return refused(AVERROR(EILSEQ), "the options are not UTF-8");
    if (memory_block::is_block(name))
        return block_request(name, Options(options));
    if (!is_utf8(name))
        return refused(AVERROR(EILSEQ), "the name is not UTF-8");
    if (std::strlen(name) > kMaxNameBytes)
        return name_is_too_long();
    return Request{name, nullptr, Options(options), platform::kCodePageUtf8};
}

std::optional<Request> request_in_code_page(const char* name, const char* options) {
    if (name == nullptr)
        return no_name();
    if (std::strlen(name) > kMaxNameBytes)
        return name_is_too_long();
    if (memory_block::is_block(name))
        return block_has_no_such_name();
    return Request{name, nullptr, options_of(options)};
}

Request request_of_bytes(const char* name, SourceMaker bytes, const char* options) {
    return Request{name, nullptr, options_of(options), settings().code_page, std::move(bytes)};
}

std::wstring wide_name(const char* name, uint32_t code_page) {
    return platform::widen(name, code_page);
}

std::string shown_name(const char* name, uint32_t code_page) {
    return platform::narrow(wide_name(name, code_page), platform::kCodePageUtf8);
}

std::string shown_name(const Request& request) {
    return request.block != nullptr ? "the memory block" : shown_name(request.name.c_str(), request.code_page);
}

std::string url_of(const std::string& name, uint32_t code_page) {
    return platform::library_file_name(name, code_page);
}

std::string message_text(const char* text) {
    const bool is_in_utf8 = settings().code_page == platform::kCodePageUtf8 || is_utf8(text);
    return is_in_utf8 ? text : platform::narrow(wide_name(text), platform::kCodePageUtf8);
}

bool has_prefix(const char* text, const char* prefix) {
    return av_stristart(text, prefix, nullptr) != 0;
}

}  // namespace qmio
