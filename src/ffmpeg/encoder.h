// One frame in, at most one packet out, over FFmpeg's send/receive interface.
#pragma once

#include <deque>

#include "ffmpeg/owners.h"

namespace qmio::ffmpeg {

// Keeps the packets that an encoder yields in surplus, so that none is lost. The codec context stays the caller's.
class Encoder {
  public:
    void attach(AVCodecContext* context) { context_ = context; }

    // Feeds `frame` (null: drains, after which the encoder takes no more) and moves the oldest packet into `packet`.
    // `got` tells whether there was one, which there may be beside an error. Returns 0 or a negative FFmpeg error.
    int encode(AVPacket* packet, bool& got, const AVFrame* frame);

    // Moves the oldest packet that is waiting into `packet`; false when there is none.
    bool take_kept(AVPacket* packet);

  private:
    int feed(const AVFrame* frame);
    int receive_all();

    AVCodecContext* context_ = nullptr;
    std::deque<PacketPtr> kept_;
    PacketPtr spare_;  // an empty record for the next packet
    bool draining_ = false;
};

}  // namespace qmio::ffmpeg
