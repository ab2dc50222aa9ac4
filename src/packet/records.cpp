// Packet records in the host's hands.
#include "core/handle/entry.h"
#include "core/handle/frame_numbers.h"
#include "ffmpeg/packet_copy.h"
#include "qmio.h"

using namespace qmio;

namespace {

int type_of(const MediaHandle& handle, const AVPacket& packet) {
    if (packet.stream_index == handle.video.stream_index && packet.stream_index >= 0)
        return QMIO_PACKET_VIDEO;
    return handle.tracks.number_of_stream(packet.stream_index) != Tracks::kNone ? QMIO_PACKET_AUDIO : QMIO_PACKET_OTHER;
}

// A record's bytes may be somebody else's memory that FFmpeg does not count the users of.
bool own_bytes(AVPacket& packet) {
    return packet.data == nullptr || av_packet_make_refcounted(&packet) >= 0;
}

void tell_stream_times(const Container& container, AVStream& stream, pkt_time_info& info) {
    info.start_time = start_or_zero(stream);
    const AVRational rate = guessed_frame_rate(container, stream);
    info.frame_rate_num = rate.num;
    info.frame_rate_den = rate.den;
    info.time_base_num = stream.time_base.num;
    info.time_base_den = stream.time_base.den;
}

// Frame 0 is stamped 0, whatever time the stream starts at.
int stamp(const MediaHandle& handle, AVPacket& packet, int64_t frame) {
    AVStream* const stream = handle.video.stream;
    if (stream == nullptr)
        return 0;
    const AVRational rate = guessed_frame_rate(handle.container, *stream);
    if (rate.num < 1 || rate.den < 1)
        return 0;
    packet.pts = packet.dts = av_rescale_q(frame, av_inv_q(rate), stream->time_base);
    return 1;
}

}  // namespace

AVPacket* qmio_pkt_alloc(void) {
    return static_cast<AVPacket*>(av_mallocz(sizeof(AVPacket)));
}

int qmio_pkt_free(AVPacket* p) {
    if (p != nullptr)
        av_packet_unref(p);
    av_free(p);
    return 0;
}

int qmio_pkt_release(AVPacket* p) {
    if (p != nullptr)
        ffmpeg::clear_packet(*p);
    return 0;
}

int qmio_pkt_clone(AVPacket* p) {
    return p != nullptr && own_bytes(*p) ? 1 : 0;
}

AVPacket* qmio_pkt_copy(AVPacket* dst, const AVPacket* src) {
    return dst != nullptr && src != nullptr && ffmpeg::copy_packet(*dst, *src) ? dst : nullptr;
}

AVPacket* qmio_pkt_get(MediaHandle* h, AVPacket* dst) {
    return with_handle<AVPacket*>(h, nullptr, nullptr,
                                  [&](MediaHandle& handle) { return qmio_pkt_copy(dst, handle.reading.packet.get()); });
}

AVPacket* qmio_pkt_dup(MediaHandle* h, AVPacket* dst) {
    return with_handle<AVPacket*>(h, nullptr, nullptr, [&](MediaHandle& handle) -> AVPacket* {
        if (handle.container.format_ctx == nullptr || qmio_pkt_copy(dst, handle.reading.packet.get()) == nullptr)
            return nullptr;
        return own_bytes(*dst) ? dst : nullptr;
    });
}

int qmio_pkt_put(MediaHandle* h, const AVPacket* src) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) {
        const bool done = src != nullptr && ffmpeg::copy_packet(*handle.reading.packet, *src) &&
                          ffmpeg::copy_packet(*handle.reading.audio_packet, *src);
        return done ? 1 : 0;
    });
}

int qmio_pkt_save(MediaHandle* h, const AVPacket* src) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) {
        return src != nullptr && ffmpeg::copy_packet(*handle.reading.saved_pkt, *src) ? 1 : 0;
    });
}

int qmio_pkt_restore(MediaHandle* h, AVPacket* dst) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) {
        return dst != nullptr && ffmpeg::copy_packet(*dst, *handle.reading.saved_pkt) ? 1 : 0;
    });
}

int qmio_pkt_type(MediaHandle* h, const AVPacket* p) {
    return with_handle<int>(h, QMIO_PACKET_OTHER, QMIO_PACKET_OTHER, [&](MediaHandle& handle) {
        return p != nullptr ? type_of(handle, *p) : int{QMIO_PACKET_OTHER};
    });
}

int qmio_pkt_time(MediaHandle* h, const AVPacket* p, pkt_time_info* info) {
    if (p == nullptr)
        return 0;
    if (info == nullptr)
        return p->size;
    *info = {};
    info->pts = p->pts;
    info->dts = p->dts;
    info->duration = p->duration;
    return with_handle(h, p->size, p->size, [&](MediaHandle& handle) {
        if (AVStream* const stream = stream_of_packet(handle.container, *p); stream != nullptr)
            tell_stream_times(handle.container, *stream, *info);
        return p->size;
    });
}

int qmio_pkt_ts(MediaHandle* h, AVPacket* p, int64_t frame) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) { return p != nullptr ? stamp(handle, *p, frame) : 0; });
}
