#include "platform/loaded_library.h"

#include "platform/win32/windows.h"

namespace qmio::platform {
namespace {

constexpr char own_address = 0;

HMODULE module_of(const void* address, DWORD flags) {
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | flags, static_cast<LPCWSTR>(address), &module);
    return module;
}

}  // namespace

void keep_loaded(const void* address) {
    constexpr DWORD kLookOnly = GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (module_of(address, kLookOnly) != module_of(&own_address, kLookOnly))
        module_of(address, GET_MODULE_HANDLE_EX_FLAG_PIN);
}

void keep_this_library_loaded() {
    module_of(&own_address, GET_MODULE_HANDLE_EX_FLAG_PIN);
}

Function function_of_library(const void* address, const char* name, Function stub) {
    const HMODULE module = module_of(address, GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT);
    const FARPROC function = module != nullptr ? ::GetProcAddress(module, name) : nullptr;
    return function != nullptr ? reinterpret_cast<Function>(function) : stub;
}

}  // namespace qmio::platform
