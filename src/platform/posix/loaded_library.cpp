#include "platform/loaded_library.h"

#include <dlfcn.h>

#include "platform/posix/library_of.h"

namespace qmio::platform {
namespace {

constexpr char own_address = 0;

}  // namespace

void keep_loaded(const void* address) {
    if (!is_of_this_library(address))
        keep_library_of(address);
}

void keep_this_library_loaded() {
    keep_library_of(&own_address);
}

Function function_of_library(const void*, const char*, Function stub) {
    return stub;
}

bool is_of_this_library(const void* address) {
    Dl_info library{};
    Dl_info own{};
    return ::dladdr(address, &library) != 0 && ::dladdr(&own_address, &own) != 0 && library.dli_fbase == own.dli_fbase;
}

void keep_library_of(const void* address) {
    Dl_info library{};
    if (::dladdr(address, &library) == 0)
        return;
    // The mark stays with the library after this handle is given back.
    if (void* handle = ::dlopen(library.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE))
        ::dlclose(handle);
}

}  // namespace qmio::platform
