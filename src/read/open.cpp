#include "read/open.h"

#include "audio/open_tracks.h"
#include "core/handle/codec_open.h"
#include "core/handle/entry.h"
#include "core/handle/half_built.h"
#include "core/process/settings.h"
#include "core/process/trace.h"
#include "core/text/memory_block.h"
#include "core/text/names.h"
#include "core/text/option_string.h"
#include "ffmpeg/pixel_format.h"
#include "platform/system.h"
#include "qmio.h"

using namespace qmio;

namespace {

constexpr std::size_t kMaxWideOptions = 1023;

MediaHandle* open_wide(const wchar_t* wide, const char* options) {
    const std::optional<std::string> name = core_name(wide);
    // A memory block is known by its address, which a converted name no longer has.
    if (!name || memory_block::is_block(name->c_str()))
        return nullptr;
    return read::open_core(name->c_str(), options);
}

}  // namespace

MediaHandle* qmio_open_a(const char* name) {
    return qmio_open_ex_a(name, nullptr);
}

MediaHandle* qmio_open_ex_a(const char* name, const char* options) {
    return guarded<MediaHandle*>(nullptr, [=]() -> MediaHandle* {
        if (name == nullptr)
            return nullptr;
        if (memory_block::is_block(name))
            return read::open_core(name, options);
        const std::optional<std::string> converted = core_name(name);
        // A code page may make that prefix out of other letters, too.
        const bool is_name = converted && !memory_block::is_block(converted->c_str());
        return is_name ? read::open_core(converted->c_str(), options) : nullptr;
    });
}

MediaHandle* qmio_open_w(const wchar_t* name) {
    return guarded<MediaHandle*>(nullptr, [=] { return open_wide(name, nullptr); });
}

MediaHandle* qmio_open_ex_w(const wchar_t* name, const wchar_t* options) {
    return guarded<MediaHandle*>(nullptr, [=]() -> MediaHandle* {
        if (options == nullptr)
            return open_wide(name, nullptr);
        const std::optional<std::string> narrow = ansi_options(options, kMaxWideOptions);
        return narrow ? open_wide(name, narrow->c_str()) : nullptr;
    });
}

namespace qmio::read {

namespace {

ffmpeg::Dictionary configured_options(const char* entry) {
    ffmpeg::Dictionary dictionary;
    if (settings().database != nullptr) {
        for (const qmlib::XmlDatabase::Option& option : settings().database->options(entry))
            dictionary.set(option.name.c_str(), option.value.c_str());
    }
    return dictionary;
}

// What a memory block is known by in the handle is its header.
std::string handle_name(const char* name) {
    return memory_block::is_block(name) ? memory_block::header_text(name) : std::string(name);
}

bool allocate_container(MediaHandle& handle) {
    handle.container.format_ctx.reset(avformat_alloc_context());
    if (handle.container.format_ctx == nullptr) {
        trace(TraceSwitch::open, kOpenTag, L"error alloc format context [%s]\n", wide_name(handle.file_name));
        return false;
    }
    handle.container.format_ctx->interrupt_callback = interrupt_callback(handle.container);
    return true;
}

ffmpeg::Dictionary container_options(const MediaHandle& handle, const char* options) {
    ffmpeg::Dictionary dictionary = configured_options("format");
    if (options != nullptr)
        add_format_options(*handle.container.format_ctx, dictionary, options);
    // The network protocol's own key, which the container does not know.
    std::string timeout;
    if (has_prefix(handle.file_name, "ftp:") && find_value(options, "timeout", timeout))
        dictionary.set("timeout", timeout.c_str());
    if (tracing(TraceSwitch::options)) {
        trace(TraceSwitch::options, kOpenTag, L"format opts:\n");
        dump_dictionary(dictionary, kOpenTag);
    }
    return dictionary;
}

void trace_exit(const MediaHandle& handle, uint32_t started) {
    if (!tracing(TraceSwitch::open))
        return;
    const platform::SharedMapping* index = handle.container.index_mapping.get();
    trace(TraceSwitch::open, kOpenTag, L"done, index handle %p, mem %p, dur %d\n", static_cast<const void*>(index),
          index != nullptr ? index->data() : nullptr, handle.video.frame_count);
    trace(TraceSwitch::open, kOpenTag, L"on exit: spent %d msec\n", platform::tick_count() - started);
}

bool open_steps(MediaHandle& handle, const char* name, const char* options, uint32_t started) {
    if (!set_file_name(handle, handle_name(name)) || !allocate_container(handle))
        return false;
    ffmpeg::Dictionary dictionary = container_options(handle, options);
    if (!open_container(handle.container, name, dictionary) || !probe_streams(handle))
        return false;
    if (handle.video.stream_index >= 0 && !open_video(handle, options))
        return false;
    // A handle whose audio failed is good for video, but its opening ends here.
    if (!audio::open_tracks(handle.container, handle.sound, handle.tracks))
        return true;
    attach_frame_index(handle);
    trace_exit(handle, started);
    return true;
}

}  // namespace

MediaHandle* open_core(const char* name, const char* options) {
    const uint32_t started = platform::tick_count();
    if (tracing(TraceSwitch::open)) {
        trace(TraceSwitch::open, kOpenTag, L"enc %d [%s] param [%S]\n", settings().code_page,
              wide_name(handle_name(name).c_str()), options);
    }
    HalfBuiltHandle handle(create_handle());
    if (handle == nullptr || !open_steps(*handle, name, options, started))
        return nullptr;
    return handle.release();
}

bool probe_streams(MediaHandle& handle) {
    AVFormatContext& container = *handle.container.format_ctx;
    std::vector<ffmpeg::Dictionary> options;
    for (unsigned stream = 0; stream < container.nb_streams; ++stream)
        options.push_back(configured_options("codec"));
    std::vector<AVDictionary*> entries;
    entries.reserve(options.size());
    for (ffmpeg::Dictionary& dictionary : options)
        entries.push_back(dictionary.release());
    const int result = avformat_find_stream_info(&container, entries.empty() ? nullptr : entries.data());
    for (AVDictionary*& dictionary : entries)
        av_dict_free(&dictionary);
    trace(TraceSwitch::open, kOpenTag, L"\tavformat_find_stream_info %s, %d streams\n", result < 0 ? L"***FAIL" : L"OK",
          container.nb_streams);
    if (result < 0)
        return false;
    for (unsigned stream = 0; stream < container.nb_streams; ++stream)
        handle.container.stream_codec.push_back(make_stream_codec(*container.streams[stream]));
    find_first_video(handle.container, handle.video);
    audio::find_tracks(handle.container, handle.tracks);
    return true;
}

}  // namespace qmio::read
