#include "read/sound_cursor.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "core/handle/codec_open.h"
#include "ffmpeg/protocol.h"
#include "read/open.h"
#include "read/sound_hash.h"

namespace qmio::read {

namespace {

// Packets of the track that are looked at from where a seek landed; behind a key picture some seconds may lie between.
constexpr int kMostSearched = 1000;
constexpr int kMostErrors = 64;

PacketMark mark_of(const AVPacket& packet) {
    SoundHash hash;
    hash.add(packet.data, static_cast<std::size_t>(std::max(packet.size, 0)));
    hash.add(static_cast<uint64_t>(packet.pos));
    hash.add(static_cast<uint64_t>(packet.flags & AV_PKT_FLAG_DISCARD));
    std::size_t size = 0;
    if (const uint8_t* skip = av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, &size); skip != nullptr)
        hash.add(skip, size);
    return {hash.value(), packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts, packet.duration / 4};
}

// What may be opened a second time and is then the same again.
bool can_be_opened_again(const Request& request, const Container& owner) {
    if (request.bytes)
        return true;
    if (has_prefix(request.name.c_str(), "dshow:") || owner.format_ctx == nullptr)
        return false;
    const AVFormatContext& context = *owner.format_ctx;
    if (context.pb == nullptr || ffmpeg::is_network_url(plain_url(request)))
        return true;
    return (context.pb->seekable & AVIO_SEEKABLE_NORMAL) != 0;
}

}  // namespace

bool PacketMark::operator==(const PacketMark& other) const {
    if (key != other.key || (time == AV_NOPTS_VALUE) != (other.time == AV_NOPTS_VALUE))
        return false;
    return time == other.time || std::abs(time - other.time) <= std::max(quarter, other.quarter);
}

bool SoundCursor::open() {
    codec_.reset();
    container_.reset();
    if (!can_be_opened_again(*request_, owner_))
        return false;
    auto container = std::make_unique<Container>();
    container->owner = &owner_;
    if (!open_source(*container, *request_) || find_stream_info(*container->format_ctx) < 0 ||
        static_cast<unsigned>(stream_) >= container->format_ctx->nb_streams)
        return false;
    container->stall_watch.end();
    for (unsigned index = 0; index < container->format_ctx->nb_streams; ++index)
        if (static_cast<int>(index) != stream_)
            container->format_ctx->streams[index]->discard = AVDISCARD_ALL;
    packet_.reset(av_packet_alloc());
    container_ = std::move(container);
    number_ = 0;
    is_held_ = false;
    return packet_ != nullptr;
}

// As the first packet finds it. Emptying one that was used is not the same: some keep what noise they have made.
bool SoundCursor::renew_decoder() {
    codec_ = make_stream_codec(*container_->format_ctx->streams[stream_]);
    if (codec_ == nullptr || decoder_ == nullptr)
        return false;
    codec_->thread_count = 1;  // frames come out with their own packets
    return open_codec(*codec_, *decoder_, nullptr) >= 0;
}

bool SoundCursor::rewind() {
    return open() && renew_decoder();
}

bool SoundCursor::move_to(int64_t number, const PacketMark& mark) {
    if (number == 0)
        return rewind();
    if (!is_open() && !open())
        return false;
    if (!(seeks_ && find_by_time(number, mark)) && !find_by_counting(number, mark))
        return false;
    return renew_decoder();
}

// ---- finding a packet ----

// Seeks land before the packet or, where times in the file are estimates, somewhere around it.
bool SoundCursor::find_by_time(int64_t number, const PacketMark& mark) {
    const AVStream& stream = *container_->format_ctx->streams[stream_];
    for (const int seconds_before : {0, 2}) {
        const int64_t before = av_rescale_q(seconds_before, {1, 1}, stream.time_base);
        if (mark.time != AV_NOPTS_VALUE && find_from(mark.time - before, number, mark))
            return true;
    }
    seeks_ = false;
    number_ = -1;  // it stands nobody knows where
    return false;
}

bool SoundCursor::find_from(int64_t time, int64_t number, const PacketMark& mark) {
    if (seek_container(*container_, stream_, time, AVSEEK_FLAG_BACKWARD) < 0)
        return false;
    is_held_ = false;
    for (int looked = 0; looked < kMostSearched && read(); ++looked) {
        if (mark_ == mark) {
            number_ = number;
            is_held_ = true;
            return true;
        }
        if (mark_.time != AV_NOPTS_VALUE && mark_.time > mark.time + 4 * (mark_.quarter + 1))
            return false;
    }
    return false;
}

// Reads all before it. That is sure, and as quick as the source is read.
bool SoundCursor::find_by_counting(int64_t number, const PacketMark& mark) {
    if ((number_ < 0 || number_ > number) && !open())
        return false;
    while (number_ <= number && next()) {
        if (number_ <= number)
            continue;
        --number_;
        is_held_ = true;
        return mark_ == mark;
    }
    return false;
}

// ---- reading and decoding ----

bool SoundCursor::next() {
    if (is_held_ || read()) {
        is_held_ = false;
        ++number_;
        return true;
    }
    return false;
}

bool SoundCursor::read() {
    if (owner_.cancelled.load(std::memory_order_relaxed))
        return false;
    do {
        av_packet_unref(packet_.get());
        if (av_read_frame(container_->format_ctx.get(), packet_.get()) < 0)
            return false;
    } while (packet_->stream_index != stream_);
    mark_ = mark_of(*packet_);
    return true;
}

void SoundCursor::decode(Frames& frames) {
    if (packet_->data == nullptr || packet_->size <= 0)
        return;
    // A packet that is damaged gives nothing, and the next one may be whole.
    if (avcodec_send_packet(codec_.get(), packet_.get()) >= 0)
        receive(frames);
}

void SoundCursor::drain(Frames& frames) {
    avcodec_send_packet(codec_.get(), nullptr);
    for (int errors = 0; errors < kMostErrors && receive(frames) != AVERROR_EOF;)
        ++errors;
}

int SoundCursor::receive(Frames& frames) {
    for (;;) {
        ffmpeg::FramePtr frame(av_frame_alloc());
        if (frame == nullptr)
            return AVERROR(ENOMEM);
        if (const int result = avcodec_receive_frame(codec_.get(), frame.get()); result < 0)
            return result;
        frames.push_back(std::move(frame));
    }
}

}  // namespace qmio::read
