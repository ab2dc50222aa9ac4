#include "core/handle/container.h"

namespace qmio {

namespace {

// FFmpeg polls this from any thread while it blocks on a network source.
int is_cancelled(void* container) {
    return static_cast<const Container*>(container)->cancelled.load(std::memory_order_relaxed) ? 1 : 0;
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

int seek_container(Container& container, int stream, int64_t position, int flags) {
    if (!is_demuxing(container))
        return AVERROR(EBADF);
    const int result = av_seek_frame(container.format_ctx.get(), stream, position, flags);
    container.moved |= result >= 0;
    return result;
}

}  // namespace qmio
