// The one way to end any handle, and the clean-up of every open and creation that failed.
#include "audio/release.h"
#include "core/handle/entry.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "core/text/names.h"
#include "packet/reader_queue.h"
#include "platform/file.h"
#include "qmio.h"
#include "read/release.h"
#include "write/create.h"
#include "write/finish.h"
#include "write/release.h"

using namespace qmio;

namespace {

constexpr const wchar_t* kTag = L"qmio_close";

void trace_close(const wchar_t* text) {
    trace(TraceSwitch::close, kTag, L"%s", text);
}

void trace_start(const MediaHandle& handle) {
    if (!tracing(TraceSwitch::close))
        return;
    trace(TraceSwitch::close, kTag, L"%s: %s\n", is_writer(handle) ? L"write" : L"read", wide_name(handle));
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

void close_writer(MediaHandle& handle) {
    const bool has_container = handle.container.format_ctx != nullptr;
    write::complete(handle);
    if (has_container) {
        release_codecs(handle);
        trace_close(L"bitbuf free done\n");
    }
    trace_close(L"close format context\n");
    write::finish_memory_block(handle.writing);
}

// ---- both ----

void trace_freed_tracks(int tracks) {
    for (int track = 0; track < tracks; ++track) {
        trace(TraceSwitch::close, kTag, L"free audio stream %d\n", track);
        trace_close(L"aring deleted\n");
        trace_close(L"audio buf freed\n");
    }
}

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
    const bool is_left_half_built = why::has_failed();
    if (is_writer(handle))
        close_writer(handle);
    else
        close_reader(handle);
    release_work_records(handle);
    if (!is_left_half_built && why::has_failed())
        why::within("cannot complete %s", shown_name(handle).c_str());
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
        trace(TraceSwitch::close, L"qmio_cancel", L"%s\n", wide_name(handle));
    handle.reading.positioned.reset();
    read::release_kept(handle.reading);
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
    if (context->pb != nullptr && context->oformat != nullptr) {
        const platform::FailedNotEnded limit;
        avio_flush(context->pb);
        note_error(handle.writing, context->pb->error);
    }
    return 1;
}

}  // namespace

int qmio_close(MediaHandle* h) {
    if (h == nullptr)
        return 0;
    return told(0, [h] {
        if (!guarded(false, [h] { return is_closed_by_reader(*h); }))
            end_handle(h);
        return 0;
    });
}

int qmio_flush(MediaHandle* h) {
    return with_handle(h, 0, 0, flush);
}

int qmio_cancel(MediaHandle* h) {
    if (h == nullptr)
        return 0;
    return guarded(0, [h] { return cancel(*h); });
}
