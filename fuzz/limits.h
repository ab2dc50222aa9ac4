// What keeps a target from spending its time and memory on what the library leaves to FFmpeg.
#pragma once

extern "C" {
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

#include <cstdint>

// libx264 does not free the copy of its parameters when it cannot open an encoder. What is left of an encoder that we forget
// would be told all the same: its context is not libx264's.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libx264.so";
}

namespace qmio::fuzz {

inline constexpr int64_t kMostPixels = 1 << 22;

// FFmpeg refuses larger blocks, and says nothing.
inline void limit_ffmpeg() {
    av_max_alloc(std::size_t{64} << 20);
    av_log_set_level(AV_LOG_QUIET);
}

}  // namespace qmio::fuzz
