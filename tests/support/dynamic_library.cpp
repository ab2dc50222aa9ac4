#include "support/dynamic_library.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace qmio::test {

#ifdef _WIN32

DynamicLibrary::DynamicLibrary(const std::filesystem::path& path) : handle_(::LoadLibraryW(path.c_str())) {
    if (!handle_)
        error_ = "error " + std::to_string(::GetLastError());
}

void* DynamicLibrary::symbol(const char* name) const {
    return handle_ ? reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(handle_), name)) : nullptr;
}

void DynamicLibrary::unload() {
    if (handle_)
        ::FreeLibrary(static_cast<HMODULE>(handle_));
    handle_ = nullptr;
}

std::string library_file_name(const std::string& name) {
    return name + ".dll";
}

#else

DynamicLibrary::DynamicLibrary(const std::filesystem::path& path)
    : handle_(::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (!handle_)
        error_ = ::dlerror();
}

void* DynamicLibrary::symbol(const char* name) const {
    return handle_ ? ::dlsym(handle_, name) : nullptr;
}

void DynamicLibrary::unload() {
    if (handle_)
        ::dlclose(handle_);
    handle_ = nullptr;
}

std::string library_file_name(const std::string& name) {
    return "lib" + name + ".so";
}

#endif

}  // namespace qmio::test
