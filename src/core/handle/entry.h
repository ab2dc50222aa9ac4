// What every exported function is made of: test the pointers, call one routine, return its result.
#pragma once

#include <mutex>
#include <new>
#include <system_error>
#include <utility>

#include "core/handle/media_handle.h"
#include "core/process/why.h"

namespace qmio {

// What an exception was about: memory is the one thing that C++ itself runs out of here.
inline void tell_exception() noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        why::failed(AVERROR(ENOMEM));
    } catch (const std::system_error& error) {
        why::failed(AVERROR(error.code().value()), "%s", error.what());
    } catch (...) {
        why::failed(AVERROR_UNKNOWN);
    }
}

// Runs `routine`; an exception becomes the entry point's failure value. Nothing ever throws across the C interface.
template <class Result, class Routine>
Result guarded(Result failure, Routine&& routine) noexcept {
    try {
        return std::forward<Routine>(routine)();
    } catch (...) {
        tell_exception();
        return failure;
    }
}

// The same for a call whose failures qmio_why tells.
template <class Result, class Routine>
Result told(Result failure, Routine&& routine) noexcept {
    why::Call call;
    const Result result = guarded(failure, std::forward<Routine>(routine));
    call.end(why::is_failure_value(result));
    return result;
}

// The same for one that makes a handle. A null that nothing explains is a mistake of ours, and never a silent one.
template <class Routine>
MediaHandle* told_handle(Routine&& routine) noexcept {
    return told<MediaHandle*>(nullptr, [&] {
        MediaHandle* const handle = guarded<MediaHandle*>(nullptr, std::forward<Routine>(routine));
        if (handle == nullptr)
            why::failed(AVERROR_BUG);
        return handle;
    });
}

// The same for a routine that works on a handle and does not care where container and decoder stand. It runs inside the
// handle's call lock, which qmio_cancel waits for before it takes the format context away; a null handle gives
// `null_handle`.
template <class Result, class Routine>
Result with_handle_as_it_stands(MediaHandle* handle, Result null_handle, Result failure, Routine&& routine) noexcept {
    if (handle == nullptr)
        return null_handle;
    return guarded(failure, [&]() -> Result {
        const std::lock_guard call(handle->call_lock);
        return std::forward<Routine>(routine)(*handle);
    });
}

// The same for any other routine.
template <class Result, class Routine>
Result with_handle(MediaHandle* handle, Result null_handle, Result failure, Routine&& routine) noexcept {
    return with_handle_as_it_stands(handle, null_handle, failure, [&](MediaHandle& standing) -> Result {
        catch_up(standing);
        return std::forward<Routine>(routine)(standing);
    });
}

// The same two for calls whose failures qmio_why tells, a null handle among them.
template <class Result, class Routine>
Result told_with_handle_as_it_stands(MediaHandle* handle, Result null_handle, Result failure,
                                     Routine&& routine) noexcept {
    return told(failure, [&] {
        if (handle == nullptr)
            why::failed(AVERROR(EINVAL), "no handle");
        return with_handle_as_it_stands(handle, null_handle, failure, std::forward<Routine>(routine));
    });
}

template <class Result, class Routine>
Result told_with_handle(MediaHandle* handle, Result null_handle, Result failure, Routine&& routine) noexcept {
    return told_with_handle_as_it_stands(handle, null_handle, failure, [&](MediaHandle& standing) -> Result {
        catch_up(standing);
        return std::forward<Routine>(routine)(standing);
    });
}

}  // namespace qmio
