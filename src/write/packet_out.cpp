#include "write/packet_out.h"

#include "core/process/why.h"
#include "platform/file.h"

namespace qmio::write {

namespace {

int hand_over(const Container& container, const Writing& writing, AVPacket& packet) {
    if (container.format_ctx == nullptr || writing.header_result < 0)
        return AVERROR_EXIT;
    const platform::FailedNotEnded limit;
    if ((writing.mode & mode::interleaved) != 0)
        return av_interleaved_write_frame(container.format_ctx.get(), &packet);
    return av_write_frame(container.format_ctx.get(), &packet);
}

}  // namespace

int write_packet(Container& container, Writing& writing, AVPacket& packet) {
    if ((writing.mode & mode::suppressed) != 0)
        return 0;
    const int result = note_error(writing, hand_over(container, writing, packet));
    if (result < 0)
        why::failed(result, "a packet cannot be written");
    return result;
}

int refuse_to_write() {
    why::failed(AVERROR_EXIT, "the file is finished or cancelled");
    return AVERROR_EXIT;
}

}  // namespace qmio::write
