#include "write/create.h"

#include <memory>
#include <optional>
#include <string>

#include "core/handle/entry.h"
#include "core/handle/frame_index.h"
#include "core/handle/half_built.h"
#include "core/process/settings.h"
#include "core/process/trace.h"
#include "core/text/memory_block.h"
#include "core/text/names.h"
#include "core/text/option_string.h"
#include "platform/text.h"
#include "qmio.h"

using namespace qmio;

namespace {

constexpr std::size_t kMaxWideOptions = 4095;

MediaHandle* create_core(const char* name, const char* options, uint32_t flags);

MediaHandle* create_narrow(const char* name, const char* options, uint32_t flags) {
    if (name == nullptr)
        return nullptr;
    const std::optional<std::string> text = utf8_options(options);
    const char* const options_text = text ? text->c_str() : nullptr;
    if (memory_block::is_block(name))
        return create_core(name, options_text, flags);
    const std::optional<std::string> converted = core_name(name);
    // A code page may make that prefix out of other letters, too.
    if (!converted || memory_block::is_block(converted->c_str()))
        return nullptr;
    return create_core(converted->c_str(), options_text, flags);
}

MediaHandle* create_wide(const wchar_t* wide, const wchar_t* options, uint32_t flags) {
    const std::optional<std::string> name = core_name(wide);
    // A memory block is known by its address, which a converted name no longer has.
    if (!name || memory_block::is_block(name->c_str()))
        return nullptr;
    if (options == nullptr)
        return create_core(name->c_str(), nullptr, flags);
    const std::optional<std::string> narrow = ansi_options(options, kMaxWideOptions);
    return narrow ? create_core(name->c_str(), utf8_options(narrow->c_str())->c_str(), flags) : nullptr;
}

// ---- the steps ----

// Everything behind a '|' belongs to the host.
std::string file_name_of(const char* name) {
    if (memory_block::is_block(name))
        return memory_block::header_text(name);
    // Looked for in wide text: in some code pages a '|' is the second half of a letter.
    const std::wstring wide = wide_name(name);
    const std::size_t bar = wide.find(L'|');
    return bar == std::wstring::npos ? name : platform::narrow(wide.substr(0, bar), settings().code_page);
}

uint32_t mode_of(uint32_t flags) {
    uint32_t mode = mode::writer;
    if ((flags & QMIO_CREATE_INTERLEAVED) != 0)
        mode |= mode::interleaved;
    if ((flags & QMIO_CREATE_SUPPRESSED) != 0)
        mode |= mode::suppressed;
    return mode;
}

bool make_container(MediaHandle& handle, const AVOutputFormat* format, uint32_t flags) {
    // The container is never guessed from the file's name: without one in the options there is none.
    if (format == nullptr)
        return false;
    AVFormatContext* container = nullptr;
    if (avformat_alloc_output_context2(&container, format, nullptr, nullptr) < 0)
        return false;
    handle.container.format_ctx.reset(container);
    trace(TraceSwitch::create, write::kCreateTag, L"context ok, flags 0x%X\n", flags);
    av_freep(&container->url);
    container->url = av_strdup(url_of(handle.file_name).c_str());
    container->interrupt_callback = interrupt_callback(handle.container);
    return container->url != nullptr;
}

bool make_work_records(Writing& writing) {
    writing.packet.reset(av_packet_alloc());
    return writing.packet != nullptr;
}

void collect_format_options(write::Creation& creation) {
    add_format_options(*creation.handle.container.format_ctx, creation.format_options, creation.options);
    trace(TraceSwitch::options, write::kCreateTag, L"format opts:\n");
    dump_dictionary(creation.format_options, write::kCreateTag);
}

void set_metadata(const write::Creation& creation) {
    AVDictionary** metadata = &creation.handle.container.format_ctx->metadata;
    add_metadata(metadata, creation.options);
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

bool create_steps(MediaHandle& handle, const char* name, const char* options, uint32_t flags) {
    if (!set_file_name(handle, file_name_of(name)))
        return false;
    handle.writing.mode = mode_of(flags);
    flags &= ~uint32_t{QMIO_CREATE_INTERLEAVED | QMIO_CREATE_SUPPRESSED};
    write::Creation creation{handle, name, options, write::read_creation_options(options), flags, {}};
    if (!make_container(handle, creation.asked.output_format, flags) || !make_work_records(handle.writing))
        return false;
    collect_format_options(creation);
    set_metadata(creation);
    if (!write::add_video(creation) || !write::add_audio(creation))
        return false;
    if (!write::open_output(creation) || !write::write_header(creation))
        return false;
    publish_frame_index(handle, flags);
    trace_exit(handle);
    return true;
}

MediaHandle* create_core(const char* name, const char* options, uint32_t flags) {
    HalfBuiltHandle handle(create_handle());
    if (handle == nullptr || !create_steps(*handle, name, options, flags))
        return nullptr;
    return handle.release();
}

}  // namespace

MediaHandle* qmio_create_a(const char* name, const char* options) {
    return qmio_create_ex_a(name, options, 0);
}

MediaHandle* qmio_create_ex_a(const char* name, const char* options, uint32_t flags) {
    return guarded<MediaHandle*>(nullptr, [=] { return create_narrow(name, options, flags); });
}

MediaHandle* qmio_create_w(const wchar_t* name, const wchar_t* options) {
    return qmio_create_ex_w(name, options, 0);
}

MediaHandle* qmio_create_ex_w(const wchar_t* name, const wchar_t* options, uint32_t flags) {
    return guarded<MediaHandle*>(nullptr, [=] { return create_wide(name, options, flags); });
}

namespace qmio::write {

AVCodecContext* add_codec(Container& container, const AVCodec& encoder) {
    container.stream_codec.emplace_back(avcodec_alloc_context3(&encoder));
    return container.stream_codec.back().get();
}

ffmpeg::Dictionary encoder_options(const Creation& creation, AVCodecContext& codec, AddOptions add,
                                   const wchar_t* heading) {
    ffmpeg::Dictionary options;
    add(codec, options, creation.options);
    trace(TraceSwitch::options, kCreateTag, L"%s", heading);
    dump_dictionary(options, kCreateTag);
    return options;
}

void ask_for_global_header(const Container& container, AVCodecContext& codec, const wchar_t* text) {
    if ((container.format_ctx->oformat->flags & AVFMT_GLOBALHEADER) == 0)
        return;
    codec.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    trace(TraceSwitch::options, kCreateTag, L"%s", text);
}

void set_compliance(const Creation& creation, AVCodecContext& codec, const char* key, const wchar_t* text) {
    std::string value;
    if (!find_value(creation.options, key, value))
        return;
    if (value != "experimental" && read_integer(value.c_str()) != FF_COMPLIANCE_EXPERIMENTAL)
        return;
    codec.strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
    trace(TraceSwitch::options, kCreateTag, L"%s", text);
}

}  // namespace qmio::write
