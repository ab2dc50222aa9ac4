// Where a new file's bytes go: FFmpeg's own I/O or a block of the host's memory. Then the header, the first of them.
#include "core/process/trace.h"
#include "core/process/why.h"
#include "core/text/memory_block.h"
#include "core/text/names.h"
#include "platform/file.h"
#include "write/create.h"

namespace qmio::write {

namespace {

constexpr uint32_t kKnownFlags = AVIO_FLAG_READ | AVIO_FLAG_WRITE | AVIO_FLAG_NONBLOCK | AVIO_FLAG_DIRECT;

bool open_memory(Creation& creation) {
    MediaHandle& handle = creation.handle;
    char* const block = creation.block;
    int64_t size = 0;
    // Without a size nothing of the block is known to be the host's.
    if (!memory_block::parse_size(block, size)) {
        report(kCreateTag, L"open [%s] ERR\n", wide_name(handle));
        why::failed(AVERROR(EINVAL), "its header tells no size");
        return false;
    }
    handle.writing.mem_block = block;
    handle.writing.memory = std::make_unique<qmlib::MemoryOutput>(memory_block::data(block), size);
    handle.container.custom_io = qmlib::make_custom_io(*handle.writing.memory);
    handle.container.format_ctx->flags |= AVFMT_FLAG_CUSTOM_IO;
    handle.container.format_ctx->pb = handle.container.custom_io.get();
    if (handle.container.custom_io == nullptr)
        why::failed(AVERROR(ENOMEM));
    return handle.container.custom_io != nullptr;
}

// The two rates upside down, as the two time bases are not: readers of these traces know them so.
void trace_times(const Video& video, const wchar_t* when) {
    if (video.stream == nullptr || !tracing(TraceSwitch::create))
        return;
    const AVStream& stream = *video.stream;
    const AVCodecContext& codec = *video.codec;
    trace(TraceSwitch::create, kCreateTag, L"%s write header, fps %d/%d, tbr %d/%d, tbs %d/%d, tbc %d/%d\n", when,
          stream.avg_frame_rate.den, stream.avg_frame_rate.num, stream.r_frame_rate.den, stream.r_frame_rate.num,
          stream.time_base.num, stream.time_base.den, codec.time_base.num, codec.time_base.den);
}

void trace_container(const AVFormatContext& container, const wchar_t* prefix) {
    trace(TraceSwitch::create, kCreateTag, L"%sformat context flags 0x%X\n", prefix,
          static_cast<unsigned>(container.flags));
    trace(TraceSwitch::create, kCreateTag, L"%sformat flush_packets %d\n", prefix, container.flush_packets);
    trace(TraceSwitch::create, kCreateTag, L"%sformat packet_size %d\n", prefix,
          static_cast<int>(container.packet_size));
}

void trace_field_order(const Video& video, const wchar_t* when) {
    if (video.stream != nullptr)
        trace(TraceSwitch::create, kCreateTag, L"%s write header field order param %d, enc %d\n", when,
              static_cast<int>(video.stream->codecpar->field_order), static_cast<int>(video.codec->field_order));
}

void trace_before(const MediaHandle& handle) {
    trace_container(*handle.container.format_ctx, L"");
    trace_field_order(handle.video, L"before");
}

void trace_after(const MediaHandle& handle) {
    trace_field_order(handle.video, L"after");
    trace(TraceSwitch::create, kCreateTag, L"************************************\n");
    trace_container(*handle.container.format_ctx, L"after write header, ");
    trace_times(handle.video, L"after");
}

}  // namespace

bool open_file(MediaHandle& handle, uint32_t flags, const wchar_t* tag) {
    const int known = static_cast<int>((flags & kKnownFlags) | AVIO_FLAG_WRITE);
    const AVIOInterruptCB interrupt = interrupt_callback(handle.container);
    const int result = avio_open2(&handle.container.format_ctx->pb, url_of(handle).c_str(), known, &interrupt, nullptr);
    if (result >= 0)
        return true;
    report(tag, L"open [%s] ERR\n", wide_name(handle));
    why::failed(result);
    return false;
}

bool open_output(Creation& creation) {
    if (creation.block != nullptr)
        return open_memory(creation);
    if ((creation.handle.container.format_ctx->oformat->flags & AVFMT_NOFILE) != 0)
        return true;
    trace(TraceSwitch::create, kCreateTag, L"create file\n");
    return open_file(creation.handle, creation.output_flags, kCreateTag);
}

bool write_header(Creation& creation) {
    MediaHandle& handle = creation.handle;
    trace_times(handle.video, L"before");
    add_timecode(creation.format_options.address(), creation.options);
    trace_before(handle);
    const platform::FailedNotEnded limit;
    handle.writing.header_result =
        avformat_write_header(handle.container.format_ctx.get(), creation.format_options.address());
    if (handle.writing.header_result < 0) {
        report(kCreateTag, L"avformat_write_header [%s] ERR\n", wide_name(handle));
        tell_failed_header(handle);
        return false;
    }
    trace_after(handle);
    return true;
}

// A container without a stream fails over that; what is missing is an encoder that FFmpeg has.
// FFmpeg's closing does not tell what became of the last bytes.
void close_file(Writing& writing, AVIOContext*& file) {
    const platform::FailedNotEnded limit;
    avio_flush(file);
    const int flushed = file->error;
    const int closed = avio_closep(&file);
    if (const int result = note_error(writing, flushed < 0 ? flushed : closed); result < 0)
        why::failed(result, "the last bytes cannot be written");
}

void tell_failed_header(const MediaHandle& handle) {
    if (handle.container.format_ctx->nb_streams == 0)
        why::failed(AVERROR_ENCODER_NOT_FOUND, "there is no stream to write");
    else
        why::failed(handle.writing.header_result, "the header cannot be written");
}

void close_output(MediaHandle& handle) {
    AVFormatContext* const container = handle.container.format_ctx.get();
    if (container == nullptr)
        return;
    if (handle.container.custom_io != nullptr)
        container->pb = nullptr;
    else if ((container->oformat->flags & AVFMT_NOFILE) == 0 && container->pb != nullptr)
        close_file(handle.writing, container->pb);
    handle.container.custom_io.reset();
    release_container(handle);
}

}  // namespace qmio::write
