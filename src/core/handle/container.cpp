#include "core/handle/container.h"

#include <string_view>

namespace qmio {

namespace {

// FFmpeg polls this from any thread while it blocks on a network source.
int is_cancelled(void* container) {
    auto& asking = *static_cast<Container*>(container);
    const bool is_owner_cancelled = asking.owner != nullptr && asking.owner->cancelled.load(std::memory_order_relaxed);
    const bool is_over = is_owner_cancelled || asking.cancelled.load(std::memory_order_relaxed) ||
                         asking.reader_stopped.load(std::memory_order_relaxed) || asking.stall_watch.asked();
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

}  // namespace

AVIOInterruptCB interrupt_callback(Container& container) {
    return {is_cancelled, &container};
}

bool is_demuxing(const Container& container) {
    return container.format_ctx != nullptr && container.format_ctx->iformat != nullptr;
}

AVStream* stream_of_packet(const Container& container, const AVPacket& packet) {
    const AVFormatContext* const context = container.format_ctx.get();
    const bool exists = context != nullptr && packet.stream_index >= 0 &&
                        static_cast<unsigned>(packet.stream_index) < context->nb_streams;
    return exists ? context->streams[packet.stream_index] : nullptr;
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
