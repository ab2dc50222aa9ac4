// The one include of the system's header, and the owner of a kernel handle.
#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <memory>

namespace qmio::platform {

struct CloseKernelHandle {
    void operator()(HANDLE handle) const { ::CloseHandle(handle); }
};
using KernelHandle = std::unique_ptr<void, CloseKernelHandle>;

}  // namespace qmio::platform
