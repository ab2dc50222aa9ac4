// Messages for the host: while it has asked for them, they go to its function instead of the console and the log file.
#pragma once

#include <cstdint>
#include <string_view>

#include "qmio.h"

namespace qmio {

// What the library's own lines are told to be. Their switches alone decide whether they are written.
inline constexpr int kTraceLevel = QMIO_LOG_TRACE;

// FFmpeg's messages above this level are dropped: the host's level, else the configured one.
int32_t log_level() noexcept;

// Hands a message to the host. False where it has not asked for them. A message that its function causes itself is
// dropped.
bool tell_host(int level, std::string_view message) noexcept;

// Null gives console and file back. Returns once the function that was asked for before is no longer being called, unless
// it is that function which calls. False when memory is short: nothing has changed.
bool set_host_log(qmio_log_callback callback, void* opaque, int level) noexcept;

}  // namespace qmio
