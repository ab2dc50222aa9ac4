#include "write/remux.h"

#include <optional>

#include "core/handle/entry.h"
#include "core/handle/half_built.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "core/text/names.h"
#include "core/text/option_passes.h"
#include "platform/file.h"
#include "platform/text.h"
#include "qmio.h"

using namespace qmio;

namespace {

void trace_step(const wchar_t* text) {
    trace(TraceSwitch::create, write::kMuxTag, L"%s", text);
}

void trace_parsed(const Options& options) {
    if (tracing(TraceSwitch::create) && options.text() != nullptr)
        trace(TraceSwitch::create, write::kMuxTag, L"opt parsed [%s]\n",
              platform::widen(options.text(), platform::kCodePageUtf8));
}

write::Creation read_options(MediaHandle& handle, const Request& request) {
    write::Creation creation{handle,
                             nullptr,
                             request.options,
                             write::for_ffmpeg(request.options),
                             write::read_creation_options(request.options),
                             0,
                             {},
                             write::kMuxTag};
    trace_parsed(request.options);
    return creation;
}

// Unlike a file that is created, a copy is not signed with the product's names.
void set_metadata(const write::Creation& creation) {
    AVDictionary** metadata = &creation.handle.container.format_ctx->metadata;
    write::add_metadata(metadata, creation.options);
    write::add_tags(metadata, creation.asked.tags);
    trace(TraceSwitch::options, write::kMuxTag, L"metadata opts:\n");
    dump_dictionary(*metadata, write::kMuxTag);
}

bool add_sound(write::Creation& creation, MediaHandle* source) {
    if (source != nullptr)
        return write::add_copied_sound(creation.handle, *source);
    write::declare_tracks(creation.handle.tracks, creation.asked);
    return write::add_audio(creation);
}

bool open_output(MediaHandle& handle) {
    if ((handle.container.format_ctx->oformat->flags & AVFMT_NOFILE) != 0)
        return true;
    trace_step(L"create_file\n");
    return write::open_file(handle, AVIO_FLAG_WRITE, write::kMuxTag);
}

void trace_times(const Video& video, const wchar_t* when) {
    const AVStream& stream = *video.stream;
    const AVRational tick = video.codec->time_base;
    trace(TraceSwitch::create, write::kMuxTag,
          L"%s avformat_write_header, codec fps %d/%d, tbr %d/%d, tbs %d/%d, tbc %d/%d\n", when,
          stream.avg_frame_rate.num, stream.avg_frame_rate.den, stream.r_frame_rate.num, stream.r_frame_rate.den,
          stream.time_base.num, stream.time_base.den, tick.num, tick.den);
}

bool write_copy_header(write::Creation& creation) {
    MediaHandle& handle = creation.handle;
    trace_times(handle.video, L"before");
    const platform::FailedNotEnded limit;
    const int result = avformat_write_header(handle.container.format_ctx.get(), creation.format_options.address());
    handle.writing.header_result = result;
    trace_times(handle.video, L"after");
    trace(TraceSwitch::create, write::kMuxTag, L"after avformat_write_header, res %d\n", result);
    if (result < 0) {
        trace_step(L"after avformat_write_header ERROR\n");
        write::tell_failed_header(handle);
    }
    return result >= 0;
}

bool mux_steps(MediaHandle& handle, const Request& request, MediaHandle& video_src, MediaHandle* audio_src) {
    if (!set_file_name(handle, write::file_name_of(request), request.code_page))
        return false;
    trace(TraceSwitch::create, write::kMuxTag, L"start [%s]\n", wide_name(handle));
    handle.writing.mode = mode::writer | mode::remux | mode::interleaved;
    write::Creation creation = read_options(handle, request);
    if (!write::make_container(creation))
        return false;
    write::collect_format_options(creation);
    set_metadata(creation);
    if (!write::add_copied_video(handle, video_src) || !add_sound(creation, audio_src))
        return false;
    write::remark_unused_options(creation);
    return open_output(handle) && write_copy_header(creation);
}

MediaHandle* mux_request(const Request& request, MediaHandle* video_src, MediaHandle* audio_src) {
    if (video_src == nullptr || request.block != nullptr) {
        why::failed(AVERROR(EINVAL),
                    request.block != nullptr ? "files in memory are not made so" : "there is no source");
        return nullptr;
    }
    HalfBuiltHandle handle(create_handle());
    if (handle == nullptr || !mux_steps(*handle, request, *video_src, audio_src))
        return nullptr;
    return handle.release();
}

MediaHandle* mux(const std::optional<Request>& request, MediaHandle* video_src, MediaHandle* audio_src) {
    MediaHandle* const handle = request ? mux_request(*request, video_src, audio_src) : nullptr;
    if (handle == nullptr)
        write::tell_failed_making(request);
    return handle;
}

}  // namespace

MediaHandle* qmio_mux_a(const char* file, const char* options, MediaHandle* video_src, MediaHandle* audio_src) {
    return told_handle([=] { return mux(request_in_code_page(file, options), video_src, audio_src); });
}

MediaHandle* qmio_mux_u8(const char* file, const char* options, MediaHandle* video_src, MediaHandle* audio_src) {
    return told_handle([=] { return mux(request_in_utf8(file, options), video_src, audio_src); });
}

MediaHandle* qmio_mux_w(const wchar_t* file, const wchar_t* options, MediaHandle* video_src, MediaHandle* audio_src) {
    return told_handle([=] { return mux(request(file, options), video_src, audio_src); });
}

int qmio_copy_frame(MediaHandle* mux, MediaHandle* src) {
    return told_with_handle(mux, -1, AVERROR(ENOMEM), [src](MediaHandle& handle) {
        if (src == nullptr)
            why::failed(AVERROR(EINVAL), "there is no source");
        const int result = src != nullptr ? write::copy_frame(handle, *src) : -1;
        if (why::has_failed())
            why::within("cannot write to %s", shown_name(handle).c_str());
        return result;
    });
}
