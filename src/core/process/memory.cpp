// FFmpeg's allocator for hosts. A negative size is refused here: as an unsigned one it would be near the whole address
// space, and what FFmpeg does with that depends on a process-wide limit that a host may have raised.
#include <cstddef>

#include "ffmpeg/ffmpeg.h"

#include "qmio.h"

void* qmio_alloc(int size) {
    return size < 0 ? nullptr : av_malloc(static_cast<std::size_t>(size));
}

void* qmio_calloc(int size) {
    return size < 0 ? nullptr : av_mallocz(static_cast<std::size_t>(size));
}

void* qmio_realloc(void* p, int size) {
    return size < 0 ? nullptr : av_realloc(p, static_cast<std::size_t>(size));
}

void qmio_free(void* p) {
    av_free(p);
}
