#include "ffmpeg/decoder.h"

namespace qmio::ffmpeg {

namespace {

// A decoder that fails again and again without asking for input must not keep us for ever.
constexpr int kMaxErrorsPerPacket = 64;

}  // namespace

int Decoder::decode(AVFrame* frame, bool& got, const AVPacket* packet) {
    const bool drain = packet == nullptr || packet->size <= 0;
    if (!drain && packet->data == nullptr)
        return AVERROR_INVALIDDATA;  // which FFmpeg would take for the end
    const int result = drain ? drain_one() : feed(packet);
    failed_ |= result < 0;
    got = take_kept(frame);
    // A picture that is there is delivered first; the error belongs to a packet whose picture never comes.
    if (result < 0 && !got)
        return result;
    return drain ? 0 : packet->size;
}

bool Decoder::take_kept(AVFrame* frame) {
    if (kept_.empty() && draining_ && !drained_)
        drain_one();
    if (kept_.empty())
        return false;
    av_frame_unref(frame);
    av_frame_move_ref(frame, kept_.front().get());
    spare_.push_back(std::move(kept_.front()));
    kept_.pop_front();
    return true;
}

void Decoder::flush() {
    if (context_ != nullptr && avcodec_is_open(context_) != 0)
        avcodec_flush_buffers(context_);
    for (FramePtr& frame : kept_) {
        av_frame_unref(frame.get());
        spare_.push_back(std::move(frame));
    }
    kept_.clear();
    draining_ = false;
    drained_ = false;
    failed_ = false;
    ++pass_;
}

bool Decoder::is_on_hardware() const {
    return context_ != nullptr && (context_->hw_device_ctx != nullptr || context_->hw_frames_ctx != nullptr ||
                                   (context_->codec->capabilities & AV_CODEC_CAP_HARDWARE) != 0);
}

void Decoder::finish_pass() {
    begin_drain();
    end_drain();
}

int Decoder::feed(const AVPacket* packet) {
    if (draining_)
        end_drain();
    int result = avcodec_send_packet(context_, packet);
    if (result == AVERROR(EAGAIN)) {
        receive(kEverything);
        result = avcodec_send_packet(context_, packet);
    }
    // After an error pictures of earlier packets may still be waiting.
    const int received = receive(kEverything);
    return result < 0 ? result : received;
}

void Decoder::begin_drain() {
    if (draining_)
        return;
    draining_ = true;
    avcodec_send_packet(context_, nullptr);
}

int Decoder::drain_one() {
    begin_drain();
    return kept_.empty() && !drained_ ? receive(1) : 0;
}

// A packet after a drain starts anew: the pictures still inside are kept, then the codec is made ready again.
void Decoder::end_drain() {
    if (!drained_)
        receive(kEverything);
    avcodec_flush_buffers(context_);
    draining_ = false;
    drained_ = false;
    ++pass_;
}

int Decoder::receive(std::size_t count) {
    int first_error = 0;
    int errors = 0;
    const std::size_t wanted = count == kEverything ? count : kept_.size() + count;
    while (kept_.size() < wanted) {
        FramePtr frame = spare_frame();
        if (frame == nullptr)
            return AVERROR(ENOMEM);
        const int result = avcodec_receive_frame(context_, frame.get());
        if (result >= 0) {
            kept_.push_back(std::move(frame));
            continue;
        }
        spare_.push_back(std::move(frame));
        if (result == AVERROR_EOF)
            drained_ = true;
        if (result == AVERROR_EOF || result == AVERROR(EAGAIN))
            break;
        if (first_error == 0)
            first_error = result;
        if (++errors == kMaxErrorsPerPacket)
            break;
    }
    return first_error;
}

FramePtr Decoder::spare_frame() {
    if (spare_.empty())
        return FramePtr(av_frame_alloc());
    FramePtr frame = std::move(spare_.front());
    spare_.pop_front();
    return frame;
}

}  // namespace qmio::ffmpeg
