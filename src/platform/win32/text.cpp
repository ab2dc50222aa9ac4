#include "platform/text.h"

#include "platform/win32/windows.h"

namespace qmio::platform {
namespace {

int wide_units(std::string_view text, uint32_t code_page) {
    return ::MultiByteToWideChar(code_page, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
}

// No flags: several code pages refuse every flag.
int narrow_bytes(std::wstring_view text, uint32_t code_page) {
    return ::WideCharToMultiByte(code_page, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr,
                                 nullptr);
}

}  // namespace

std::wstring widen(std::string_view text, uint32_t code_page) {
    if (text.empty())
        return {};
    const int units = wide_units(text, code_page);
    if (units <= 0)
        return code_page == kCodePageUtf8 ? std::wstring() : widen(text, kCodePageUtf8);
    std::wstring wide(static_cast<std::size_t>(units), L'\0');
    ::MultiByteToWideChar(code_page, 0, text.data(), static_cast<int>(text.size()), wide.data(), units);
    return wide;
}

std::string narrow(std::wstring_view text, uint32_t code_page) {
    if (text.empty())
        return {};
    const int bytes = narrow_bytes(text, code_page);
    if (bytes <= 0)
        return code_page == kCodePageUtf8 ? std::string() : narrow(text, kCodePageUtf8);
    std::string result(static_cast<std::size_t>(bytes), '\0');
    ::WideCharToMultiByte(code_page, 0, text.data(), static_cast<int>(text.size()), result.data(), bytes, nullptr,
                          nullptr);
    return result;
}

}  // namespace qmio::platform
