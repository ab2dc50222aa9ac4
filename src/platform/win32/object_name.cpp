#include "platform/win32/object_name.h"

#include "platform/win32/windows.h"

namespace qmio::platform {
namespace {

std::wstring byte_by_byte(const std::string& name) {
    std::wstring wide;
    for (const char c : name)
        wide += static_cast<wchar_t>(static_cast<unsigned char>(c));
    return wide;
}

}  // namespace

// Names are often UTF-8 and then need not be valid in the ANSI code page. Replacement characters would make one name of
// several, so such a name is taken byte by byte.
std::wstring object_name(const std::string& name) {
    const int size = static_cast<int>(name.size());
    const int units = ::MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, name.data(), size, nullptr, 0);
    if (units <= 0)
        return byte_by_byte(name);
    std::wstring wide(static_cast<std::size_t>(units), L'\0');
    ::MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, name.data(), size, wide.data(), units);
    return wide;
}

}  // namespace qmio::platform
