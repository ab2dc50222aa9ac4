#include "write/packet_out.h"

namespace qmio::write {

int write_packet(Container& container, const Writing& writing, AVPacket& packet) {
    if ((writing.mode & mode::suppressed) != 0)
        return 0;
    if (container.format_ctx == nullptr || writing.header_result < 0)
        return AVERROR_EXIT;
    if ((writing.mode & mode::interleaved) != 0)
        return av_interleaved_write_frame(container.format_ctx.get(), &packet);
    return av_write_frame(container.format_ctx.get(), &packet);
}

}  // namespace qmio::write
