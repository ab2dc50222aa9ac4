// Text conversion between wide text and narrow text of a code page.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qmio::platform {

inline constexpr uint32_t kCodePageAnsi = 0;  // the system's ANSI code page
inline constexpr uint32_t kCodePageUtf8 = 65001;

// What cannot be converted becomes a replacement character. A code page that the system does not know counts as UTF-8.
std::wstring widen(std::string_view text, uint32_t code_page);
std::string narrow(std::wstring_view text, uint32_t code_page);

}  // namespace qmio::platform
