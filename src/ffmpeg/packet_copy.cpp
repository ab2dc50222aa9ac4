#include "ffmpeg/packet_copy.h"

#include <cstring>

namespace qmio::ffmpeg {

bool copy_packet(AVPacket& target, const AVPacket& source) {
    if (&target == &source)
        return true;
    av_packet_unref(&target);
    // A record without bytes has none to share; FFmpeg would give the copy an empty block.
    const bool has_bytes = source.data != nullptr;
    return (has_bytes ? av_packet_ref(&target, &source) : av_packet_copy_props(&target, &source)) >= 0;
}

void clear_packet(AVPacket& packet) {
    av_packet_unref(&packet);
    std::memset(&packet, 0, sizeof packet);
}

}  // namespace qmio::ffmpeg
