#include "write/create.h"

#include <memory>
#include <optional>
#include <string>

#include "core/handle/entry.h"
#include "core/handle/frame_index.h"
#include "core/handle/half_built.h"
#include "core/process/trace.h"
#include "core/process/why.h"
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
    write::add_tags(metadata, creation.asked.tags);
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
    if (!set_file_name(handle, write::file_name_of(request), request.code_page))
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
    if (!write::make_container(creation))
        return false;
    if (must_interleave(*creation.asked.output_format, flags))
        handle.writing.mode |= mode::interleaved;
    trace(TraceSwitch::create, write::kCreateTag, L"context ok, flags 0x%X\n", flags);
    write::collect_format_options(creation);
    set_metadata(creation);
    if (!write::add_video(creation) || !write::add_audio(creation))
        return false;
    write::remark_unused_options(creation);
    if (!write::open_output(creation) || !write::write_header(creation))
        return false;
    publish_frame_index(handle, flags);
    trace_exit(handle);
    return true;
}

MediaHandle* create_request(const Request& request, uint32_t flags) {
    HalfBuiltHandle handle(create_handle());
    if (handle == nullptr || !create_steps(*handle, request, flags))
        return nullptr;
    return handle.release();
}

MediaHandle* create(const std::optional<Request>& request, uint32_t flags) {
    MediaHandle* const handle = request ? create_request(*request, flags) : nullptr;
    if (handle == nullptr)
        write::tell_failed_making(request);
    return handle;
}

}  // namespace

MediaHandle* qmio_create_a(const char* name, const char* options) {
    return qmio_create_ex_a(name, options, 0);
}

MediaHandle* qmio_create_ex_a(const char* name, const char* options, uint32_t flags) {
    return told_handle([=] { return create(request(name, options), flags); });
}

MediaHandle* qmio_create_u8(const char* name, const char* options, uint32_t flags) {
    return told_handle([=] { return create(request_in_utf8(name, options), flags); });
}

MediaHandle* qmio_create_w(const wchar_t* name, const wchar_t* options) {
    return qmio_create_ex_w(name, options, 0);
}

MediaHandle* qmio_create_ex_w(const wchar_t* name, const wchar_t* options, uint32_t flags) {
    return told_handle([=] { return create(request(name, options), flags); });
}

namespace qmio::write {

namespace {

bool tell_no_memory() {
    why::failed(AVERROR(ENOMEM));
    return false;
}

// The container is never guessed from the file's name: without one in the options there is none.
bool is_known(const Creation& creation) {
    if (creation.asked.output_format != nullptr)
        return true;
    const std::string* name = nullptr;
    for (const Option& option : creation.options)
        if (creation_key(option.key) == CreationKey::container)
            name = &option.value;  // of two the last counts
    if (name != nullptr)
        why::failed(AVERROR_MUXER_NOT_FOUND, "option fmt: no container is called %s", name->c_str());
    else
        why::failed(AVERROR_MUXER_NOT_FOUND, "there is no option fmt");
    return false;
}

// It would get no trailer, as it has no output of ours that one could hang on.
bool can_be_completed(const AVOutputFormat& format, const wchar_t* tag) {
    if (!ffmpeg::writes_with_trailer(format))
        return true;
    report(tag, L"container [%S] is complete with a trailer only ERR\n", format.name);
    why::failed(AVERROR(ENOSYS), "option fmt: container %s cannot be completed here", format.name);
    return false;
}

bool is_taken(const Creation& creation, const std::string& key) {
    return creation_key(key) != CreationKey::none ||
           creation.known.get(key.substr(0, key.find(':')).c_str()) != nullptr;
}

void note_known(Creation& creation, const ffmpeg::Dictionary& taken) {
    av_dict_copy(creation.known.address(), taken.entries(), 0);
}

}  // namespace

std::string file_name_of(const Request& request) {
    // Looked for in wide text: in some code pages a '|' is the second half of a letter.
    const std::wstring wide = wide_name(request.name.c_str(), request.code_page);
    const std::size_t bar = request.block == nullptr ? wide.find(L'|') : std::wstring::npos;
    return bar == std::wstring::npos ? request.name : platform::narrow(wide.substr(0, bar), request.code_page);
}

void tell_failed_making(const std::optional<Request>& request) {
    why::within("cannot make%s", request ? (" " + shown_name(*request)).c_str() : "");
}

bool make_container(Creation& creation) {
    MediaHandle& handle = creation.handle;
    const AVOutputFormat* const format = creation.asked.output_format;
    if (!is_known(creation) || !can_be_completed(*format, creation.tag))
        return false;
    AVFormatContext* container = nullptr;
    if (const int result = avformat_alloc_output_context2(&container, format, nullptr, nullptr); result < 0) {
        why::failed(result);
        return false;
    }
    handle.container.format_ctx.reset(container);
    av_freep(&container->url);
    container->url = av_strdup(url_of(handle).c_str());
    container->interrupt_callback = interrupt_callback(handle.container);
    handle.writing.packet.reset(av_packet_alloc());
    return (container->url != nullptr && handle.writing.packet != nullptr) || tell_no_memory();
}

void collect_format_options(Creation& creation) {
    add_format_options(*creation.handle.container.format_ctx, creation.format_options, creation.for_ffmpeg);
    note_known(creation, creation.format_options);
    trace(TraceSwitch::options, creation.tag, L"format opts:\n");
    dump_dictionary(creation.format_options, creation.tag);
}

void remark_unused_options(const Creation& creation) {
    std::string keys;
    for (const Option& pair : creation.for_ffmpeg)
        if (!is_taken(creation, pair.key))
            keys += (keys.empty() ? "" : ", ") + pair.key;
    if (!keys.empty())
        why::remark("unused options: %s", keys.c_str());
}

AVCodecContext* add_codec(Container& container, const AVCodec& encoder) {
    container.stream_codec.push_back(ffmpeg::CodecContextPtr(avcodec_alloc_context3(&encoder)));
    if (container.stream_codec.back() == nullptr)
        tell_no_memory();
    return container.stream_codec.back().get();
}

ffmpeg::Dictionary encoder_options(Creation& creation, AVCodecContext& codec, AddOptions add, const wchar_t* heading) {
    ffmpeg::Dictionary options;
    add(codec, options, creation.for_ffmpeg);
    note_known(creation, options);
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

void add_tags(AVDictionary** dictionary, const Options& tags) {
    for (const Option& tag : tags)
        av_dict_set(dictionary, tag.key.c_str(), tag.value.c_str(), 0);
}

void add_timecode(AVDictionary** dictionary, const Options& options) {
    for (const Option& pair : options)
        if (creation_key(pair.key) == CreationKey::timecode)
            av_dict_set(dictionary, "timecode", pair.value.c_str(), 0);
}

}  // namespace qmio::write
