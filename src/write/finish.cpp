#include "write/finish.h"

#include <cstdio>
#include <cstring>

#include "core/handle/entry.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "core/text/memory_block.h"
#include "core/text/names.h"
#include "platform/file.h"
#include "qmio.h"
#include "write/create.h"
#include "write/packet_out.h"
#include "write/write_audio.h"
#include "write/write_video.h"

namespace qmio::write {

namespace {

constexpr const wchar_t* kTag = L"qmio_close";

void trace_close(const wchar_t* text) {
    trace(TraceSwitch::close, kTag, L"%s", text);
}

// Sound is not drained: what an audio encoder still holds stays in it. Draining would make files longer than hosts
// know them.
void finish_streams(MediaHandle& handle) {
    const Writing& writing = handle.writing;
    if (writing.header_result < 0 || handle.container.format_ctx == nullptr || (writing.mode & mode::remux) != 0)
        return;
    finish_tracks(handle);
    drain_video(handle);
}

// The trailer hangs on there being an output that is ours: containers that open their own files get none: what
// hosts find on the disk lacks it.
void write_trailer(const Container& container, Writing& writing) {
    if (container.format_ctx->pb == nullptr)
        return;
    trace_close(L"custom io\n");  // for an output of any kind: readers of these traces count on the line
    if (writing.header_result < 0)
        return;
    trace_close(L"before write trailer\n");
    const platform::FailedNotEnded limit;
    if (const int result = note_error(writing, av_write_trailer(container.format_ctx.get())); result < 0)
        why::failed(result, "the trailer cannot be written");
    trace_close(L"after write trailer\n");
}

int finish(MediaHandle& handle) {
    Writing& writing = handle.writing;
    if (!is_writer(handle)) {
        why::failed(AVERROR(EINVAL), "no file is being written");
        return AVERROR(EINVAL);
    }
    if (!writing.is_finished && handle.container.format_ctx == nullptr)
        return refuse_to_write();
    complete(handle);
    finish_memory_block(writing);
    writing.is_finished = true;
    if (writing.first_error < 0)
        why::failed(writing.first_error, "what came before cannot be written");
    return writing.first_error;
}

}  // namespace

void complete(MediaHandle& handle) {
    // What cannot be finished for want of memory does not keep the rest from being completed.
    const int finished = guarded(AVERROR(ENOMEM), [&handle] {
        finish_streams(handle);
        return 0;
    });
    note_error(handle.writing, finished);
    trace_close(L"write\n");
    if (handle.container.format_ctx == nullptr)
        return;
    const bool has_io = handle.container.format_ctx->pb != nullptr;
    write_trailer(handle.container, handle.writing);
    close_output(handle);
    if (has_io)
        trace_close(L"avio_close done\n");
}

// The header of a memory target tells how many bytes were written: eight digits, the low 32 bits alone, which is what
// hosts parse, and a full stop in place of its end.
void finish_memory_block(Writing& writing) {
    if (writing.mem_block == nullptr || writing.memory == nullptr || writing.is_finished)
        return;
    trace_close(L"memory mapped io processing\n");
    char digits[10];
    std::snprintf(digits, sizeof digits, "%08X.", static_cast<uint32_t>(writing.memory->high_water()));
    std::memcpy(writing.mem_block + std::strlen(memory_block::kPrefix), digits, 9);
    trace(TraceSwitch::close, kTag, L"mem: [%S], %I64d\n", memory_block::header_text(writing.mem_block),
          writing.memory->high_water());
}

}  // namespace qmio::write

using namespace qmio;

int qmio_finish(MediaHandle* h) {
    return told_with_handle(h, AVERROR(EINVAL), AVERROR(ENOMEM), [](MediaHandle& handle) {
        const int result = write::finish(handle);
        why::within("cannot complete %s", shown_name(handle).c_str());
        return result;
    });
}
