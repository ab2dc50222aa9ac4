#include "read/open.h"

#include "audio/open_tracks.h"
#include "core/handle/codec_open.h"
#include "core/handle/entry.h"
#include "core/handle/half_built.h"
#include "core/process/settings.h"
#include "core/process/trace.h"
#include "core/text/names.h"
#include "ffmpeg/open_holes.h"
#include "platform/system.h"
#include "qmio.h"
#include "read/cancel_open.h"
#include "read/count_pictures.h"
#include "read/deliver.h"
#include "read/own_options.h"

using namespace qmio;

MediaHandle* qmio_open_a(const char* name) {
    return qmio_open_ex_a(name, nullptr);
}

MediaHandle* qmio_open_ex_a(const char* name, const char* options) {
    return told_handle([=] { return read::open(request(name, options)); });
}

MediaHandle* qmio_open_u8(const char* name, const char* options) {
    return told_handle([=] { return read::open(request_in_utf8(name, options)); });
}

MediaHandle* qmio_open_w(const wchar_t* name) {
    return qmio_open_ex_w(name, nullptr);
}

MediaHandle* qmio_open_ex_w(const wchar_t* name, const wchar_t* options) {
    return told_handle([=] { return read::open(request(name, options)); });
}

namespace qmio::read {

namespace {

bool allocate_container(Container& container, const Request& request) {
    container.format_ctx.reset(avformat_alloc_context());
    if (container.format_ctx == nullptr) {
        trace(TraceSwitch::open, kOpenTag, L"error alloc format context [%s]\n",
              wide_name(request.name.c_str(), request.code_page));
        why::failed(AVERROR(ENOMEM));
        return false;
    }
    container.format_ctx->interrupt_callback = interrupt_callback(container);
    if (settings().max_streams > 0)
        container.format_ctx->max_streams = settings().max_streams;
    return true;
}

void trace_exit(const MediaHandle& handle, uint32_t started) {
    if (!tracing(TraceSwitch::open))
        return;
    const platform::SharedMapping* index = handle.container.index_mapping.get();
    trace(TraceSwitch::open, kOpenTag, L"done, index handle %p, mem %p, dur %d\n", static_cast<const void*>(index),
          index != nullptr ? index->data() : nullptr, handle.video.frame_count);
    trace(TraceSwitch::open, kOpenTag, L"on exit: spent %d msec\n", platform::tick_count() - started);
}

bool open_steps(MediaHandle& handle, const Request& request, uint32_t started) {
    if (!set_file_name(handle, request.name, request.code_page) || !open_source(handle.container, request) ||
        !probe_streams(handle))
        return false;
    handle.reading.request = std::make_shared<const Request>(request);
    handle.container.stall_watch.end();
    if (handle.video.stream_index >= 0 && !open_video(handle, request.options))
        return false;
    // A handle whose audio failed is good for video, but its opening ends here.
    if (!audio::open_tracks(handle.container, handle.sound, handle.tracks)) {
        why::forgive();
        return true;
    }
    if (!request.bytes)
        attach_frame_index(handle);
    trace_exit(handle, started);
    return true;
}

// Null on any failure. `uncounted` becomes true where the source stays where counting left it.
HalfBuiltHandle open_once(const Request& request, const OwnOptions& own, uint32_t started, bool& uncounted) {
    HalfBuiltHandle handle(create_handle());
    if (handle == nullptr)
        return nullptr;
    Container& container = handle->container;
    NamedOpen under_way(own.cancel, container.cancelled);
    container.open_deadline.begin(own.open_timeout);
    if (!open_steps(*handle, request, started))
        return nullptr;
    uncounted = own.count && !count_pictures(*handle);
    if (!under_way.complete() || was_stopped(container)) {
        tell_source_failure(container, AVERROR_EXIT, "");
        return nullptr;
    }
    container.open_deadline.end();
    return handle;
}

MediaHandle* open_request(const Request& request) {
    const uint32_t started = platform::tick_count();
    if (tracing(TraceSwitch::open))
        trace(TraceSwitch::open, kOpenTag, L"enc %d [%s] param [%S]\n", settings().code_page,
              wide_name(request.name.c_str(), request.code_page), request.options.text());
    std::optional<OwnOptions> own = own_options(request.options);
    if (!own)
        return nullptr;
    const Request for_ffmpeg{request.name, request.block, without_own(request.options), request.code_page,
                             request.bytes};
    bool uncounted = false;
    HalfBuiltHandle handle = open_once(for_ffmpeg, *own, started, uncounted);
    if (handle != nullptr && uncounted) {
        own->count = false;
        handle = open_once(for_ffmpeg, *own, started, uncounted);
    }
    if (handle != nullptr)
        choose_delivery(handle->video, own->told_colours, own->upright);
    return handle.release();
}

}  // namespace

MediaHandle* open(const std::optional<Request>& request) {
    if (!request) {
        why::within("cannot open");
        return nullptr;
    }
    MediaHandle* const handle = open_request(*request);
    if (handle == nullptr)
        why::within("cannot open %s", shown_name(*request).c_str());
    return handle;
}

bool open_source(Container& container, const Request& request) {
    if (!allocate_container(container, request))
        return false;
    ffmpeg::Dictionary dictionary = container_options(*container.format_ctx, request);
    return open_container(container, request, dictionary);
}

void keep_holes_closed(const AVStream& stream, ffmpeg::Dictionary& options) {
    const char* const hole = ffmpeg::open_hole(stream.codecpar->codec_id);
    if (hole == nullptr)
        return;
    report(kOpenTag, L"stream %d is not decoded: FFmpeg's decoder of %S has an open hole, %S\n", stream.index,
           avcodec_get_name(stream.codecpar->codec_id), hole);
    options.set("codec_whitelist", "none");
}

int find_stream_info(AVFormatContext& container) {
    std::vector<ffmpeg::Dictionary> options;
    for (unsigned stream = 0; stream < container.nb_streams; ++stream) {
        options.push_back(configured_options("codec"));
        options.back().set_default("max_pixels",
                                   std::to_string(most_pixels(container, *container.streams[stream])).c_str());
        keep_holes_closed(*container.streams[stream], options.back());
    }
    // Streams that come up later, as such containers have them, are under no option of theirs.
    const std::string whole = ffmpeg::decoders_without_holes();
    if (!whole.empty() && (container.ctx_flags & AVFMTCTX_NOHEADER) != 0 && container.codec_whitelist == nullptr)
        container.codec_whitelist = av_strdup(whole.c_str());
    std::vector<AVDictionary*> entries;
    entries.reserve(options.size());
    for (ffmpeg::Dictionary& dictionary : options)
        entries.push_back(dictionary.release());
    const int result = avformat_find_stream_info(&container, entries.empty() ? nullptr : entries.data());
    for (AVDictionary*& dictionary : entries)
        av_dict_free(&dictionary);
    trace(TraceSwitch::open, kOpenTag, L"\tavformat_find_stream_info %s, %d streams\n", result < 0 ? L"***FAIL" : L"OK",
          container.nb_streams);
    return result;
}

bool probe_streams(MediaHandle& handle) {
    AVFormatContext& container = *handle.container.format_ctx;
    const int result = find_stream_info(container);
    // What was made to stop may have gone well as far as it went.
    if (result < 0 || was_stopped(handle.container)) {
        tell_source_failure(handle.container, result, "cannot find out what it holds");
        return false;
    }
    for (unsigned stream = 0; stream < container.nb_streams; ++stream) {
        ffmpeg::CodecContextPtr codec = make_stream_codec(*container.streams[stream]);
        if (codec != nullptr)
            codec->max_pixels = most_pixels(container, *container.streams[stream]);
        handle.container.stream_codec.push_back(std::move(codec));
    }
    find_first_video(handle.container, handle.video);
    audio::find_tracks(handle.container, handle.tracks);
    return true;
}

}  // namespace qmio::read
