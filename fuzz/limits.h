// What keeps a target from spending its time and memory on what the library leaves to FFmpeg.
#pragma once

extern "C" {
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

#include <cstdint>

// The encoders' own libraries do not free all that they took when they cannot open, or have not the memory: libx264 the copy
// of its parameters, libx265 parts of its filters. What is left of an encoder that we forget would be told all the same: its
// context is FFmpeg's.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libx264.so\nleak:libx265.so\nleak:libvpx.so\nleak:libaom.so\nleak:libSvtAv1Enc.so\nleak:librav1e.so\n"
           "leak:libmp3lame.so\nleak:libopus.so\nleak:libvorbis\nleak:libtheora\nleak:libcodec2.so\nleak:libtwolame."
           "so\n"
           "leak:libopenjp2.so\nleak:libwebp.so\nleak:libxvidcore.so\nleak:libspeex.so\nleak:libgsm.so\nleak:libjxl.so";
}

namespace qmio::fuzz {

inline constexpr int64_t kMostPixels = 1 << 22;

// FFmpeg refuses larger blocks, and says nothing.
inline void limit_ffmpeg() {
    av_max_alloc(std::size_t{64} << 20);
    av_log_set_level(AV_LOG_QUIET);
}

}  // namespace qmio::fuzz
