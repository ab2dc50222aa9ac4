// The one way to end any handle, and the clean-up of every open that failed.
#include "core/entry.h"
#include "core/names.h"
#include "core/trace.h"
#include "qmio.h"

using namespace qmio;

namespace {

constexpr const wchar_t* kTag = L"qmio_close";

void trace_close(const wchar_t* text) {
    trace(TraceSwitch::close, kTag, L"%s", text);
}

void trace_start(const MediaHandle& handle) {
    if (!tracing(TraceSwitch::close))
        return;
    const bool writes = (handle.writer.mode & mode::writer) != 0;
    trace(TraceSwitch::close, kTag, L"%s: %s\n", writes ? L"write" : L"read", wide_name(handle.file_name));
}

// FFmpeg never closes a custom I/O context, so it goes before the container that still points at it.
void release_custom_io(MediaHandle& handle) {
    handle.input.reset();
    if (handle.format_ctx != nullptr && handle.custom_io != nullptr)
        handle.format_ctx->pb = nullptr;
    handle.custom_io.reset();
}

void release_codecs(MediaHandle& handle) {
    handle.reader.video_decoder = ffmpeg::Decoder();
    handle.reader.pCodecCtx = nullptr;
    handle.audio.track_codec.fill(nullptr);
    handle.stream_codec.clear();
}

void close_reader(MediaHandle& handle) {
    if (handle.format_ctx == nullptr) {
        trace_close(L"bad format context (NULL)\n");
        return;
    }
    trace_close(L"read\n");
    release_custom_io(handle);
    release_codecs(handle);
    trace_close(L"codecs closed\n");
    release_container(handle);
    trace_close(L"avformat_close_input done\n");
}

void release_frames(MediaHandle& handle) {
    trace_close(L"start free frames\n");
    handle.reader.pFrame.reset();
    trace_close(L"free frames\n");
    handle.audio.audio_frame.reset();
    handle.index_mapping.reset();
}

void close_handle(MediaHandle& handle) {
    // A cancel that another thread has begun ends first, also where the call that it made return is faster than it.
    const std::scoped_lock locks(handle.cancel_lock, handle.call_lock);
    trace_start(handle);
    close_reader(handle);
    release_frames(handle);
}

// Called by another thread while a call may be blocked inside FFmpeg: the flag makes that call return, and only then
// is the container taken away.
int cancel(MediaHandle& handle) {
    const std::lock_guard whole(handle.cancel_lock);
    handle.cancelled.store(true, std::memory_order_relaxed);
    const std::lock_guard call(handle.call_lock);
    if (tracing(TraceSwitch::close))
        trace(TraceSwitch::close, L"qmio_cancel", L"%s\n", wide_name(handle.file_name));
    release_container(handle);
    return 0;
}

int flush(MediaHandle& handle) {
    if (handle.format_ctx == nullptr)
        return 0;
    if (handle.format_ctx->pb != nullptr && handle.format_ctx->oformat != nullptr)
        avio_flush(handle.format_ctx->pb);
    return 1;
}

}  // namespace

int qmio_close(MediaHandle* h) {
    if (h == nullptr)
        return 0;
    guarded(0, [h] {
        close_handle(*h);
        return 0;
    });
    destroy_handle(h);
    trace_close(L"exit\n");
    return 0;
}

int qmio_flush(MediaHandle* h) {
    return with_handle(h, 0, 0, flush);
}

int qmio_cancel(MediaHandle* h) {
    if (h == nullptr)
        return 0;
    return guarded(0, [h] { return cancel(*h); });
}
