#include "platform/system.h"

#include "platform/text.h"
#include "platform/win32/windows.h"

namespace qmio::platform {
namespace {

constexpr std::size_t kLongestModulePath = 512;
constexpr std::size_t kLongestWidePath = 32768;

// The module that this code is in, whatever the file is called and whoever loaded it.
HMODULE own_module() {
    static const char own_address = 0;
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<LPCWSTR>(&own_address), &module);
    return module;
}

}  // namespace

std::string module_path() {
    std::wstring path(kLongestWidePath, L'\0');
    path.resize(::GetModuleFileNameW(own_module(), path.data(), static_cast<DWORD>(path.size())));
    return narrow(path, kCodePageUtf8).substr(0, kLongestModulePath);
}

LocalTime local_time() {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds};
}

uint32_t tick_count() {
    return ::GetTickCount();
}

// The C library has none for the newer half of the numbers, which FFmpeg knows.
const char* error_text(int /*number*/) {
    return nullptr;
}

std::string environment(const char* name) {
    const std::wstring wide_name = widen(name, kCodePageUtf8);
    std::wstring value;
    DWORD size = ::GetEnvironmentVariableW(wide_name.c_str(), nullptr, 0);
    // Another thread may make the value longer between two calls; what fits counts without its final zero.
    while (size > value.size()) {
        value.resize(size);
        size = ::GetEnvironmentVariableW(wide_name.c_str(), value.data(), size);
    }
    value.resize(size);
    return narrow(value, kCodePageUtf8);
}

}  // namespace qmio::platform
