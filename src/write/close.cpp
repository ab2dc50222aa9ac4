// The one way to end any handle, and the clean-up of every open and creation that failed.
#include <cstdio>
#include <cstring>

#include "audio/release.h"
#include "core/handle/entry.h"
#include "core/process/trace.h"
#include "core/text/memory_block.h"
#include "core/text/names.h"
#include "packet/reader_queue.h"
#include "qmio.h"
#include "read/release.h"
#include "write/create.h"
#include "write/release.h"
#include "write/write_audio.h"
#include "write/write_video.h"

using namespace qmio;

namespace {

constexpr const wchar_t* kTag = L"qmio_close";

void trace_close(const wchar_t* text) {
    trace(TraceSwitch::close, kTag, L"%s", text);
}

void trace_start(const MediaHandle& handle) {
    if (!tracing(TraceSwitch::close))
        return;
    trace(TraceSwitch::close, kTag, L"%s: %s\n", is_writer(handle) ? L"write" : L"read", wide_name(handle.file_name));
}

void close_reader(MediaHandle& handle) {
    if (handle.container.format_ctx == nullptr) {
        trace_close(L"bad format context (NULL)\n");
        return;
    }
    trace_close(L"read\n");
    handle.reading.positioned.reset();
    release_custom_io(handle.container);
    release_codecs(handle);
    trace_close(L"codecs closed\n");
    release_container(handle);
    trace_close(L"avformat_close_input done\n");
}

// ---- writers ----

// Sound is not drained: what an audio encoder still holds stays in it. Draining would make files longer than hosts
// know them.
void finish_streams(MediaHandle& handle) {
    const Writing& writing = handle.writing;
    if (writing.header_result < 0 || handle.container.format_ctx == nullptr || (writing.mode & mode::remux) != 0)
        return;
    write::finish_tracks(handle);
    write::drain_video(handle);
}

// The trailer hangs on there being an output that is ours: containers that open their own files get none: what
// hosts find on the disk lacks it.
void write_trailer(const Container& container, const Writing& writing) {
    if (container.format_ctx->pb == nullptr)
        return;
    trace_close(L"custom io\n");  // for an output of any kind: readers of these traces count on the line
    if (writing.header_result < 0)
        return;
    trace_close(L"before write trailer\n");
    av_write_trailer(container.format_ctx.get());
    trace_close(L"after write trailer\n");
}

void close_writer(MediaHandle& handle) {
    trace_close(L"write\n");
    if (handle.container.format_ctx != nullptr) {
        const bool has_io = handle.container.format_ctx->pb != nullptr;
        write_trailer(handle.container, handle.writing);
        write::close_output(handle);
        if (has_io)
            trace_close(L"avio_close done\n");
        release_codecs(handle);
        trace_close(L"bitbuf free done\n");
    }
    trace_close(L"close format context\n");
}

// The header of a memory target tells how many bytes were written: eight digits, the low 32 bits alone, which is what
// hosts parse, and a full stop in place of its end.
void finish_memory_block(const Writing& writing) {
    if (writing.mem_block == nullptr || writing.memory == nullptr)
        return;
    trace_close(L"memory mapped io processing\n");
    char digits[10];
    std::snprintf(digits, sizeof digits, "%08X.", static_cast<uint32_t>(writing.memory->high_water()));
    std::memcpy(writing.mem_block + std::strlen(memory_block::kPrefix), digits, 9);
    trace(TraceSwitch::close, kTag, L"mem: [%S], %I64d\n", memory_block::header_text(writing.mem_block),
          writing.memory->high_water());
}

void trace_freed_tracks(int tracks) {
    for (int track = 0; track < tracks; ++track) {
        trace(TraceSwitch::close, kTag, L"free audio stream %d\n", track);
        trace_close(L"aring deleted\n");
        trace_close(L"audio buf freed\n");
    }
}

// ---- both ----

void release_work_records(MediaHandle& handle) {
    trace_close(L"start free frames\n");
    read::release(handle.reading);
    write::release(handle.writing);
    trace_close(L"free frames\n");
    audio::release(handle.sound, handle.tracks);
    if (is_writer(handle))
        trace_freed_tracks(handle.tracks.count());
    handle.container.index_mapping.reset();
}

void close_records(MediaHandle& handle) {
    const std::scoped_lock locks(handle.cancel_lock, handle.call_lock);
    if (is_writer(handle)) {
        finish_streams(handle);
        close_writer(handle);
        finish_memory_block(handle.writing);
    } else {
        close_reader(handle);
    }
    release_work_records(handle);
}

void end_handle(MediaHandle* handle) {
    guarded(0, [handle] {
        close_records(*handle);
        return 0;
    });
    destroy_handle(handle);
    trace_close(L"exit\n");
}

bool end_background_reading(MediaHandle& handle) {
    // A cancel that another thread has begun ends first, also where the call that it made return is faster than it.
    const std::scoped_lock locks(handle.cancel_lock, handle.call_lock);
    guarded(0, [&handle] {
        trace_start(handle);
        return 0;
    });
    return packet::end_reader_queue(handle);
}

// True where a thread that is caught inside the handle's source was left to do it.
bool is_closed_by_reader(MediaHandle& handle) {
    return !end_background_reading(handle) && packet::leave_to_reader(handle, [&handle] { end_handle(&handle); });
}

// Called by another thread while a call may be blocked inside FFmpeg: the flag makes that call return, and only then
// is the container taken away.
int cancel(MediaHandle& handle) {
    const std::lock_guard whole(handle.cancel_lock);
    handle.container.cancelled.store(true, std::memory_order_relaxed);
    packet::stop_reader_queue(handle);
    const std::lock_guard call(handle.call_lock);
    if (tracing(TraceSwitch::close))
        trace(TraceSwitch::close, L"qmio_cancel", L"%s\n", wide_name(handle.file_name));
    handle.reading.positioned.reset();
    if (is_writer(handle))
        write::close_output(handle);
    else if (packet::end_reader_queue(handle))
        release_container(handle);
    return 0;
}

int flush(MediaHandle& handle) {
    const AVFormatContext* const context = handle.container.format_ctx.get();
    if (context == nullptr)
        return 0;
    if (context->pb != nullptr && context->oformat != nullptr)
        avio_flush(context->pb);
    return 1;
}

}  // namespace

int qmio_close(MediaHandle* h) {
    if (h == nullptr)
        return 0;
    if (!guarded(false, [h] { return is_closed_by_reader(*h); }))
        end_handle(h);
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
