// Small questions that only look at the handle.
#include <cstring>

#include "core/handle/entry.h"
#include "core/process/trace.h"
#include "qmio.h"

using namespace qmio;

int qmio_get_vstream(MediaHandle* h) {
    return with_handle_as_it_stands(h, -1, -1, [](MediaHandle& handle) { return handle.reading.packet->stream_index; });
}

int qmio_get_astream(MediaHandle* h) {
    return with_handle(h, -1, -1, [](MediaHandle& handle) { return handle.reading.audio_packet->stream_index; });
}

int qmio_get_dur(MediaHandle* h) {
    return with_handle_as_it_stands(h, 0, 0, [](MediaHandle& handle) { return handle.sound.audio_dur_ms; });
}

int qmio_print(MediaHandle* h, const char* what) {
    if (what == nullptr)
        return 0;
    return with_handle(h, 0, 0, [what](MediaHandle& handle) {
        if (std::strcmp(what, "video_st") == 0)
            print_to_console(L"video_st %p\n", static_cast<const void*>(handle.video.stream));
        return 1;
    });
}
