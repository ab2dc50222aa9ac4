// The one message that the library keeps for its host, shared by all handles; a newer one replaces it.
#pragma once

#include <cstddef>

#include "core/process/trace.h"

namespace qmio {

// Room of the kept text, its closing NUL included.
inline constexpr std::size_t kLastErrorSize = 512;

namespace detail {
void store_last_error(int level, std::wstring_view format, Arguments arguments) noexcept;
}

// Keeps a message, cut to the room there is, and marks it as pending. `level` is an FFmpeg log level. The format is one
// of trace lines (core/process/trace.h), so that one literal serves both. Any thread may call.
template <class... Values>
void set_last_error(int level, TraceFormat<Values...> format, const Values&... values) noexcept {
    detail::with_arguments([&](detail::Arguments list) { detail::store_last_error(level, format.text(), list); },
                           values...);
}

// 1 when a message was kept since the last call, else 0. Copies the text, which is empty when there is none, with its
// NUL to `buf` (kLastErrorSize bytes; may be null) and forgets it.
int take_last_error(char* buf) noexcept;

}  // namespace qmio
