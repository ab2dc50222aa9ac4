// What every exported function is made of: test the pointers, call one routine, return its result.
#pragma once

#include <mutex>
#include <utility>

#include "core/handle/media_handle.h"

namespace qmio {

// Runs `routine`; an exception becomes the entry point's failure value. Nothing ever throws across the C interface.
template <class Result, class Routine>
Result guarded(Result failure, Routine&& routine) noexcept {
    try {
        return std::forward<Routine>(routine)();
    } catch (...) {
        return failure;
    }
}

// The same for a routine that works on a handle. It runs inside the handle's call lock, which qmio_cancel waits for
// before it takes the format context away; a null handle gives `null_handle`.
template <class Result, class Routine>
Result with_handle(MediaHandle* handle, Result null_handle, Result failure, Routine&& routine) noexcept {
    if (handle == nullptr)
        return null_handle;
    return guarded(failure, [&]() -> Result {
        const std::lock_guard call(handle->call_lock);
        return std::forward<Routine>(routine)(*handle);
    });
}

}  // namespace qmio
