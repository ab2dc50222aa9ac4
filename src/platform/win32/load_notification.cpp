// The loader's notice that this library, or a program it is linked into, begins and ends. It comes under the loader
// lock: no thread may be waited for and no library loaded here.
#include <cstdlib>

#include "core/process/settings.h"
#include "platform/win32/windows.h"

namespace {

HMODULE own_module() {
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<LPCWSTR>(&own_module), &module);
    return module;
}

// A program's own image gets no notice; the unit tests are such programs.
__attribute__((constructor)) void started() {
    if (own_module() != ::GetModuleHandleW(nullptr))
        return;
    qmio::attach_library();
    std::atexit(qmio::detach_library);
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, LPVOID process_ends) {
    if (reason == DLL_PROCESS_ATTACH)
        qmio::attach_library();
    // When the whole process ends, the other threads are dead already, perhaps while they held the heap's locks; the
    // system takes everything back by itself.
    if (reason == DLL_PROCESS_DETACH && process_ends == nullptr)
        qmio::detach_library();
    return TRUE;
}
