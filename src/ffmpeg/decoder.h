// One packet in, at most one frame out, over FFmpeg's send/receive interface.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <utility>

#include "ffmpeg/owners.h"

namespace qmio::ffmpeg {

// Keeps the frames that a decoder yields in surplus, so that none is lost. The codec context stays the caller's.
class Decoder {
  public:
    void attach(AVCodecContext* context) { context_ = context; }
    bool is_attached() const { return context_ != nullptr; }

    // Feeds `packet` (null or empty: drains) and moves the oldest decoded frame into `frame`. `got` tells
    // whether there was one. Returns the bytes used, always the whole packet, or a negative FFmpeg error.
    int decode(AVFrame* frame, bool& got, const AVPacket* packet);

    // True when a packet could not be decoded since the last call or flush.
    bool take_failure() { return std::exchange(failed_, false); }

    // True when the codec was drained since it was last made ready: a packet that follows in the stream would be decoded
    // without those before it.
    bool is_drained() const { return draining_; }

    // True while frames of packets that were fed are waiting.
    bool has_kept() const { return !kept_.empty(); }

    // Moves the oldest frame that can come out without new input into `frame`; false when there is none.
    bool take_kept(AVFrame* frame);

    // Makes the codec ready for packets of another place, too, but keeps the frames that are still inside: they come out
    // before those of the packets that follow.
    void finish_pass();

    // Another number after everything that was decoded was forgotten.
    uint32_t pass() const { return pass_; }

    // True where pictures are not in memory of ours.
    bool is_on_hardware() const;

    // Forgets everything decoded and makes the codec ready for packets of another place.
    void flush();

  private:
    static constexpr std::size_t kEverything = std::numeric_limits<std::size_t>::max();

    int feed(const AVPacket* packet);
    void begin_drain();
    int drain_one();
    void end_drain();
    int receive(std::size_t count);
    FramePtr spare_frame();

    AVCodecContext* context_ = nullptr;
    std::deque<FramePtr> kept_;
    std::deque<FramePtr> spare_;  // empty frames for reuse
    bool draining_ = false;
    bool drained_ = false;
    bool failed_ = false;
    uint32_t pass_ = 0;
};

}  // namespace qmio::ffmpeg
