#include "write/packet_out.h"

namespace qmio::write {

int write_packet(MediaHandle& handle, AVPacket& packet) {
    const WriterState& writer = handle.writer;
    if ((writer.mode & mode::suppressed) != 0)
        return 0;
    if (handle.format_ctx == nullptr || writer.header_result < 0)
        return AVERROR_EXIT;
    if ((writer.mode & mode::interleaved) != 0)
        return av_interleaved_write_frame(handle.format_ctx.get(), &packet);
    return av_write_frame(handle.format_ctx.get(), &packet);
}

}  // namespace qmio::write
