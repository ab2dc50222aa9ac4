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
    return "leak:libx264.so\nleak:libx265.so\nleak:libvpx.so\nleak:libaom.so\nleak:libSvtAv1Enc.so\n"
           "leak:librav1e.so\nleak:libxvidcore.so\nleak:libopenjp2.so\nleak:libwebp.so\nleak:libjxl.so\n"
           "leak:libtheora\nleak:libvorbis\nleak:libmp3lame.so\nleak:libopus.so\nleak:libcodec2.so\n"
           "leak:libtwolame.so\nleak:libspeex.so\nleak:libgsm.so";
}

namespace qmio::fuzz {

inline constexpr int64_t kMostPixels = 1 << 22;

// FFmpeg refuses larger blocks, and says nothing.
inline void limit_ffmpeg() {
    av_max_alloc(std::size_t{64} << 20);
    av_log_set_level(AV_LOG_QUIET);
}

}  // namespace qmio::fuzz
