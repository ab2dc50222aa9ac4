#include "core/handle/container.h"

#include <span>
#include <string_view>

#include "core/process/why.h"

namespace qmio {

namespace {

// FFmpeg polls this from any thread while it blocks on a network source.
int is_cancelled(void* container) {
    auto& asking = *static_cast<Container*>(container);
    const bool is_owner_cancelled = asking.owner != nullptr && asking.owner->cancelled.load(std::memory_order_relaxed);
    const bool is_over = is_owner_cancelled || asking.cancelled.load(std::memory_order_relaxed) ||
                         asking.reader_stopped.load(std::memory_order_relaxed) || asking.stall_watch.asked() ||
                         asking.open_deadline.asked();
    return is_over ? 1 : 0;
}

// Pictures behind one another without a container around them: FFmpeg's index of those names pieces of pictures.
bool holds_bare_pictures(const AVFormatContext& context) {
    const std::string_view name = context.iformat->name;
    return name == "image2pipe" || name.ends_with("_pipe");
}

// A picture that is a file of its own is read once more out of what is open already, but from where that stands.
bool holds_one_picture(const AVFormatContext& context) {
    return std::string_view(context.iformat->name) == "image2" && context.pb != nullptr;
}

int seek_in(AVFormatContext& context, int stream, int64_t position, int flags) {
    if (holds_bare_pictures(context) && position <= 0 && av_seek_frame(&context, stream, 0, AVSEEK_FLAG_BYTE) >= 0)
        return 0;
    const int result = av_seek_frame(&context, stream, position, flags);
    if (result >= 0 && holds_one_picture(context))
        avio_seek(context.pb, 0, SEEK_SET);
    return result;
}

std::span<AVStream* const> streams(const Container& container) {
    if (container.before_reader)
        return container.before_reader->streams;
    const AVFormatContext* const context = container.format_ctx.get();
    return context != nullptr ? std::span(context->streams, context->nb_streams) : std::span<AVStream*>();
}

const char* timecode_tag(const AVDictionary* tags) {
    const AVDictionaryEntry* const entry = av_dict_get(tags, "timecode", nullptr, 0);
    return entry != nullptr ? entry->value : nullptr;
}

}  // namespace

AVIOInterruptCB interrupt_callback(Container& container) {
    return {is_cancelled, &container};
}

bool was_stopped(const Container& container) {
    return container.cancelled.load(std::memory_order_relaxed) || container.stall_watch.has_stalled() ||
           container.open_deadline.has_passed();
}

void tell_source_failure(const Container& container, int result, const char* step) {
    if (container.cancelled.load(std::memory_order_relaxed))
        why::failed(AVERROR_EXIT, "cancelled");
    else if (container.open_deadline.has_passed())
        why::failed(AVERROR(ETIMEDOUT), "the open lasted longer than it may");
    else if (container.stall_watch.has_stalled())
        why::failed(AVERROR(ETIMEDOUT), "the source stood still for longer than it may");
    else
        why::failed(result);
    if (*step != '\0')
        why::within("%s", step);
}

bool is_demuxing(const Container& container) {
    return container.format_ctx != nullptr && container.format_ctx->iformat != nullptr;
}

AVStream* stream_of_packet(const Container& container, const AVPacket& packet) {
    const std::span<AVStream* const> known = streams(container);
    const auto index = static_cast<std::size_t>(packet.stream_index);
    return packet.stream_index >= 0 && index < known.size() ? known[index] : nullptr;
}

const char* timecode_text(const Container& container, const AVStream* stream) {
    if (container.before_reader)
        return container.before_reader->timecode ? container.before_reader->timecode->c_str() : nullptr;
    const char* const text = stream != nullptr ? timecode_tag(stream->metadata) : nullptr;
    if (text != nullptr || container.format_ctx == nullptr)
        return text;
    return timecode_tag(container.format_ctx->metadata);
}

KeptFacts kept_facts(const Container& container, const AVStream* video) {
    const std::span<AVStream* const> known = streams(container);
    const char* const text = timecode_text(container, video);
    return {{known.begin(), known.end()}, text != nullptr ? std::optional<std::string>(text) : std::nullopt};
}

void release_custom_io(Container& container) {
    container.input.reset();
    if (container.format_ctx != nullptr && container.custom_io != nullptr)
        container.format_ctx->pb = nullptr;
    container.custom_io.reset();
}

void forget_end(const Container& container) {
    AVIOContext* const io = container.format_ctx != nullptr ? container.format_ctx->pb : nullptr;
    if (io != nullptr && io->seek != nullptr && (io->seekable & AVIO_SEEKABLE_NORMAL) != 0)
        io->seek(io->opaque, io->pos, SEEK_SET);
}

int seek_container(Container& container, int stream, int64_t position, int flags) {
    if (!is_demuxing(container))
        return AVERROR(EBADF);
    forget_end(container);
    const int result = seek_in(*container.format_ctx, stream, position, flags);
    if (result >= 0) {
        container.moved = true;
        container.clock.note_seek();
    }
    return result;
}

}  // namespace qmio
