// The exported video reading functions.
#include "core/entry.h"
#include "core/frame_numbers.h"
#include "qmio.h"
#include "read/decode.h"
#include "read/packets.h"
#include "read/seek_target.h"

using namespace qmio;

namespace {

// A host that decodes packet by packet takes the way to a sought picture into its own hands once it has passed it.
int decode_given(MediaHandle& handle, imio_picture* picture, AVPacket* packet) {
    const int result = read::decode_packet(handle, picture, packet);
    const int target = handle.reader.pending.target;
    if (result > 0 && target != PendingSeek::none && handle.reader.have_frame >= target)
        read::forget_target(handle);
    return result;
}

// A source with one picture whose decoder still holds it when its only packets are read.
bool holds_only_picture(const ReaderState& reader) {
    return reader.frame_count <= 1 && reader.have_frame == kNoFrame;
}

int read_next(MediaHandle& handle, imio_picture& picture) {
    for (;;) {
        if (const int result = read::deliver_kept(handle, &picture); result != read::kNoPicture)
            return result;
        if (!read::next_video_packet(handle))
            return holds_only_picture(handle.reader) ? read::decode_packet(handle, &picture, nullptr) : 0;
        const int result = read::decode_packet(handle, &picture, handle.reader.packet.get());
        read::release_frame(handle);
        if (result != read::kNoPicture)
            return result;
    }
}

int read_picture(MediaHandle& handle, imio_picture& picture) {
    if (handle.reader.video_stream_index == -1)
        return 0;
    if (handle.reader.pending.target != PendingSeek::none)
        return read::read_target(handle, picture);
    return read_next(handle, picture);
}

int convert_held(MediaHandle& handle, imio_picture* picture) {
    return handle.reader.pCodecCtx != nullptr ? read::convert_held_picture(handle, picture) : -1;
}

// The container's stream that the packet of this kind belongs to; null for none.
const AVStream* stream_of(const MediaHandle& handle, const AVPacket& packet, int kind) {
    if (handle.format_ctx == nullptr)
        return nullptr;
    if (kind == kVideoKind)
        return handle.reader.video_st;
    const AVStream* stream = nullptr;
    for (int track = 0; track < handle.audio.track_count; ++track) {
        const auto slot = static_cast<std::size_t>(track);
        if (handle.audio.track_stream[slot] == packet.stream_index)
            stream = handle.audio.track_av_stream[slot];
    }
    return stream;
}

int is_valid(MediaHandle& handle, int kind) {
    if (kind != kVideoKind && kind != kAudioKind)
        return 0;
    const AVPacket& packet = kind == kVideoKind ? *handle.reader.packet : *handle.audio.audio_packet;
    const AVStream* stream = stream_of(handle, packet, kind);
    if (stream == nullptr)
        return 0;
    const int64_t dts_us = packet.dts != AV_NOPTS_VALUE ? scale_time(packet.dts, stream->time_base, AV_TIME_BASE) : 0;
    return dts_us >= handle.reader.start_time_us ? 1 : 0;
}

}  // namespace

int qmio_video_pkt(MediaHandle* h, uint8_t* buffer, AVPacket* pkt) {
    return with_handle(h, -1, -1, [=](MediaHandle& handle) {
        imio_picture picture = read::plain_buffer(handle, buffer);
        return handle.reader.pCodecCtx != nullptr ? decode_given(handle, &picture, pkt) : -1;
    });
}

int qmio_video_frame(MediaHandle* h, uint8_t* buffer) {
    return with_handle(h, -1, -1, [=](MediaHandle& handle) {
        imio_picture picture = read::plain_buffer(handle, buffer);
        return handle.reader.pCodecCtx != nullptr ? decode_given(handle, &picture, handle.reader.packet.get()) : -1;
    });
}

int qmio_read_frame(MediaHandle* h, uint8_t* buffer) {
    if (buffer == nullptr)
        return 0;
    return with_handle(h, 0, 0, [=](MediaHandle& handle) {
        imio_picture picture = read::plain_buffer(handle, buffer);
        return read_picture(handle, picture);
    });
}

int qmio_get_buf(MediaHandle* h, uint8_t* buffer) {
    return with_handle(h, -1, -1, [=](MediaHandle& handle) {
        imio_picture picture = read::plain_buffer(handle, buffer);
        if (buffer == nullptr && handle.reader.pCodecCtx != nullptr)
            return 0;
        return convert_held(handle, &picture);
    });
}

int qmio_is_valid_frame(MediaHandle* h, int kind) {
    return with_handle(h, 0, 0, [=](MediaHandle& handle) { return is_valid(handle, kind); });
}

int imio_video_pkt(MediaHandle* h, imio_picture* pic, AVPacket* pkt) {
    if (pic == nullptr)
        return -1;
    return with_handle(h, -1, -1, [=](MediaHandle& handle) {
        return handle.reader.pCodecCtx != nullptr ? decode_given(handle, pic, pkt) : -1;
    });
}

int imio_video_frame(MediaHandle* h, imio_picture* pic) {
    if (pic == nullptr)
        return -1;
    return with_handle(h, -1, -1, [=](MediaHandle& handle) {
        return handle.reader.pCodecCtx != nullptr ? decode_given(handle, pic, handle.reader.packet.get()) : -1;
    });
}

int imio_read_frame(MediaHandle* h, imio_picture* pic) {
    if (pic == nullptr)
        return 0;
    return with_handle(h, 0, 0, [=](MediaHandle& handle) { return read_picture(handle, *pic); });
}

int imio_get_buf(MediaHandle* h, imio_picture* pic) {
    if (pic == nullptr)
        return -1;
    return with_handle(h, -1, -1, [=](MediaHandle& handle) { return convert_held(handle, pic); });
}
