#include "write/create.h"

#include <memory>
#include <optional>
#include <string>

#include "core/handle/entry.h"
#include "core/handle/frame_index.h"
#include "core/handle/half_built.h"
#include "core/process/settings.h"
#include "core/process/trace.h"
#include "core/text/names.h"
#include "core/text/option_passes.h"
#include "ffmpeg/muxers.h"
#include "platform/text.h"
#include "qmio.h"

using namespace qmio;

namespace {

uint32_t mode_of(uint32_t flags) {
    uint32_t mode = mode::writer;
    if ((flags & QMIO_CREATE_INTERLEAVED) != 0)
        mode |= mode::interleaved;
    if ((flags & QMIO_CREATE_SUPPRESSED) != 0)
        mode |= mode::suppressed;
    return mode;
}

// Where frames are to be found by their place in the file, packets go where the host's calls put them, as long as no more
// than a lead-in depends on it.
bool must_interleave(const AVOutputFormat& format, uint32_t flags) {
    const ffmpeg::PacketOrder order = ffmpeg::packet_order(format);
    return order == ffmpeg::PacketOrder::strict ||
           (order == ffmpeg::PacketOrder::first_first && (flags & QMIO_CREATE_FRAME_INDEX) == 0);
}

void set_metadata(const write::Creation& creation) {
    AVDictionary** metadata = &creation.handle.container.format_ctx->metadata;
    write::add_metadata(metadata, creation.options);
    av_dict_set(metadata, "product_version", "5.9", 0);
    av_dict_set(metadata, "product_name", "qmstudio", 0);
    av_dict_set(metadata, "company_name", "qmstudio.example", 0);
    trace(TraceSwitch::options, write::kCreateTag, L"metadata opts:\n");
    dump_dictionary(*metadata, write::kCreateTag);
}

void publish_frame_index(MediaHandle& handle, uint32_t flags) {
    if ((flags & QMIO_CREATE_FRAME_INDEX) != 0)
        handle.container.index_mapping = frame_index::publish(handle.file_name);
}

void trace_exit(const MediaHandle& handle) {
    const platform::SharedMapping* index = handle.container.index_mapping.get();
    trace(TraceSwitch::create, write::kCreateTag, L"format flags 0x%X\n",
          static_cast<unsigned>(handle.container.format_ctx->oformat->flags));
    trace(TraceSwitch::create, write::kCreateTag, L"done, index handle %p, mem %p\n", static_cast<const void*>(index),
          index != nullptr ? static_cast<const void*>(index->data()) : nullptr);
}

bool create_steps(MediaHandle& handle, const Request& request, uint32_t flags) {
    if (!set_file_name(handle, write::file_name_of(request)))
        return false;
    handle.writing.mode = mode_of(flags);
    flags &= ~uint32_t{QMIO_CREATE_INTERLEAVED | QMIO_CREATE_SUPPRESSED};
    write::Creation creation{handle,
                             request.block,
                             request.options,
                             write::for_ffmpeg(request.options),
                             write::read_creation_options(request.options),
                             flags,
                             {}};
    write::declare_tracks(handle.tracks, creation.asked);
    if (!write::make_container(handle, creation.asked.output_format, write::kCreateTag) ||
        !write::make_work_records(handle.writing))
        return false;
    if (must_interleave(*creation.asked.output_format, flags))
        handle.writing.mode |= mode::interleaved;
    trace(TraceSwitch::create, write::kCreateTag, L"context ok, flags 0x%X\n", flags);
    write::collect_format_options(creation);
    set_metadata(creation);
    if (!write::add_video(creation) || !write::add_audio(creation))
        return false;
    if (!write::open_output(creation) || !write::write_header(creation))
        return false;
    publish_frame_index(handle, flags);
    trace_exit(handle);
    return true;
}

MediaHandle* create(const std::optional<Request>& request, uint32_t flags) {
    if (!request)
        return nullptr;
    HalfBuiltHandle handle(create_handle());
    if (handle == nullptr || !create_steps(*handle, *request, flags))
        return nullptr;
    return handle.release();
}

}  // namespace

MediaHandle* qmio_create_a(const char* name, const char* options) {
    return qmio_create_ex_a(name, options, 0);
}

MediaHandle* qmio_create_ex_a(const char* name, const char* options, uint32_t flags) {
    return guarded<MediaHandle*>(nullptr, [=] { return create(request(name, options), flags); });
}

MediaHandle* qmio_create_w(const wchar_t* name, const wchar_t* options) {
    return qmio_create_ex_w(name, options, 0);
}

MediaHandle* qmio_create_ex_w(const wchar_t* name, const wchar_t* options, uint32_t flags) {
    return guarded<MediaHandle*>(nullptr, [=] { return create(request(name, options), flags); });
}

namespace qmio::write {

std::string file_name_of(const Request& request) {
    // Looked for in wide text: in some code pages a '|' is the second half of a letter.
    const std::wstring wide = wide_name(request.name.c_str());
    const std::size_t bar = request.block == nullptr ? wide.find(L'|') : std::wstring::npos;
    return bar == std::wstring::npos ? request.name : platform::narrow(wide.substr(0, bar), settings().code_page);
}

bool make_container(MediaHandle& handle, const AVOutputFormat* format, const wchar_t* tag) {
    // The container is never guessed from the file's name: without one in the options there is none.
    if (format == nullptr)
        return false;
    // It would get none, as it has no output of ours that a trailer could hang on.
    if (ffmpeg::writes_with_trailer(*format)) {
        report(tag, L"container [%S] is complete with a trailer only ERR\n", format->name);
        return false;
    }
    AVFormatContext* container = nullptr;
    if (avformat_alloc_output_context2(&container, format, nullptr, nullptr) < 0)
        return false;
    handle.container.format_ctx.reset(container);
    av_freep(&container->url);
    container->url = av_strdup(url_of(handle.file_name).c_str());
    container->interrupt_callback = interrupt_callback(handle.container);
    return container->url != nullptr;
}

bool make_work_records(Writing& writing) {
    writing.packet.reset(av_packet_alloc());
    return writing.packet != nullptr;
}

void collect_format_options(Creation& creation) {
    add_format_options(*creation.handle.container.format_ctx, creation.format_options, creation.for_ffmpeg);
    trace(TraceSwitch::options, creation.tag, L"format opts:\n");
    dump_dictionary(creation.format_options, creation.tag);
}

AVCodecContext* add_codec(Container& container, const AVCodec& encoder) {
    container.stream_codec.emplace_back(avcodec_alloc_context3(&encoder));
    return container.stream_codec.back().get();
}

ffmpeg::Dictionary encoder_options(const Creation& creation, AVCodecContext& codec, AddOptions add,
                                   const wchar_t* heading) {
    ffmpeg::Dictionary options;
    add(codec, options, creation.for_ffmpeg);
    trace(TraceSwitch::options, creation.tag, L"%s", heading);
    dump_dictionary(options, creation.tag);
    return options;
}

void ask_for_global_header(const Container& container, AVCodecContext& codec, const wchar_t* text) {
    if ((container.format_ctx->oformat->flags & AVFMT_GLOBALHEADER) == 0)
        return;
    codec.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    trace(TraceSwitch::options, kCreateTag, L"%s", text);
}

void set_compliance(const Creation& creation, AVCodecContext& codec, CreationKey key, const wchar_t* text) {
    const std::string* const value = find(creation.options, key);
    if (value == nullptr || (*value != "experimental" && read_integer(*value) != FF_COMPLIANCE_EXPERIMENTAL))
        return;
    codec.strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
    trace(TraceSwitch::options, kCreateTag, L"%s", text);
}

// The value of each list is an option text of its own.
void add_metadata(AVDictionary** dictionary, const Options& options) {
    for (const Option& list : options)
        if (creation_key(list.key) == CreationKey::metadata)
            for (const Option& tag : Options(list.value.c_str()))
                av_dict_set(dictionary, tag.key.c_str(), tag.value.c_str(), 0);
}

void add_timecode(AVDictionary** dictionary, const Options& options) {
    for (const Option& pair : options)
        if (creation_key(pair.key) == CreationKey::timecode)
            av_dict_set(dictionary, "timecode", pair.value.c_str(), 0);
}

}  // namespace qmio::write
