#include "ffmpeg/encoder.h"

namespace qmio::ffmpeg {

int Encoder::encode(AVPacket* packet, bool& got, const AVFrame* frame) {
    const int result = feed(frame);
    // A packet that is there is handed out beside an error, which belongs to a frame whose packet never comes.
    got = take_kept(packet);
    return result < 0 ? result : 0;
}

bool Encoder::take_kept(AVPacket* packet) {
    if (kept_.empty())
        return false;
    av_packet_unref(packet);
    av_packet_move_ref(packet, kept_.front().get());
    spare_ = std::move(kept_.front());
    kept_.pop_front();
    return true;
}

int Encoder::feed(const AVFrame* frame) {
    if (frame == nullptr && draining_)
        return receive_all();
    int result = avcodec_send_frame(context_, frame);
    if (result == AVERROR(EAGAIN)) {
        receive_all();
        result = avcodec_send_frame(context_, frame);
    }
    draining_ = draining_ || frame == nullptr;
    const int received = receive_all();
    return result < 0 ? result : received;
}

int Encoder::receive_all() {
    for (;;) {
        if (spare_ == nullptr)
            spare_.reset(av_packet_alloc());
        if (spare_ == nullptr)
            return AVERROR(ENOMEM);
        const int result = avcodec_receive_packet(context_, spare_.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return 0;
        if (result < 0)
            return result;
        kept_.push_back(std::move(spare_));
    }
}

}  // namespace qmio::ffmpeg
