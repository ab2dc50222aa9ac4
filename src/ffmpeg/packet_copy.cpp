#include "ffmpeg/packet_copy.h"

namespace qmio::ffmpeg {

bool copy_packet(AVPacket& target, const AVPacket& source) {
    if (&target == &source)
        return true;
    PacketPtr copy(av_packet_alloc());
    if (copy == nullptr)
        return false;
    // A record without bytes has none to share; FFmpeg would give the copy an empty block.
    const bool has_bytes = source.data != nullptr;
    const int result = has_bytes ? av_packet_ref(copy.get(), &source) : av_packet_copy_props(copy.get(), &source);
    av_packet_unref(&target);
    if (result < 0)
        return false;
    av_packet_move_ref(&target, copy.get());
    return true;
}

}  // namespace qmio::ffmpeg
