// The exported video reading functions.
#include "core/handle/entry.h"
#include "core/handle/frame_numbers.h"
#include "qmio.h"
#include "read/choose.h"
#include "read/decode.h"
#include "read/deliver.h"
#include "read/jogging.h"
#include "read/packets.h"

namespace qmio::read {

namespace {

void tell_no_video() {
    why::failed(AVERROR(EINVAL), "there is no video to decode");
}

// A call without a place for the picture.
int refuse_null(int result) {
    return told(result, [=] {
        why::failed(AVERROR(EINVAL), "there is no picture to read into");
        return result;
    });
}

int read_picture(Source& source, imio_picture& picture) {
    if (source.video.stream_index != -1)
        return read_jogging(source, picture);
    tell_no_video();
    return 0;
}

int decode_given(Source& source, imio_picture& picture, AVPacket* packet) {
    const int result = decode_packet(source, &picture, packet);
    if (result > 0)
        forget_passed_target(source);
    return result;
}

// The track that a packet of sound belongs to, the last one that says so; null for none. The tracks of a source whose
// sound was given up are those of stream -1.
const Track* track_of(const Tracks& tracks, const AVPacket& packet) {
    const Track* found = nullptr;
    for (const Track& track : tracks)
        if (track.stream_index == packet.stream_index)
            found = &track;
    return found;
}

// The container's stream that the packet of this kind belongs to; null for none.
const AVStream* stream_of(const MediaHandle& handle, const AVPacket& packet, int kind) {
    if (handle.container.format_ctx == nullptr)
        return nullptr;
    if (kind == kVideoKind)
        return handle.video.stream;
    const Track* const track = track_of(handle.tracks, packet);
    return track != nullptr ? track->stream : nullptr;
}

int is_valid(const MediaHandle& handle, int kind) {
    if (kind != kVideoKind && kind != kAudioKind)
        return 0;
    const AVPacket& packet = kind == kVideoKind ? *handle.reading.packet : *handle.reading.audio_packet;
    const AVStream* stream = stream_of(handle, packet, kind);
    if (stream == nullptr)
        return 0;
    const int64_t dts_us = packet.dts != AV_NOPTS_VALUE ? scale_time(packet.dts, stream->time_base, AV_TIME_BASE) : 0;
    return dts_us >= handle.video.start_time_us ? 1 : 0;
}

// Runs `routine` with the source that the handle reads; -1 where there is no video to decode.
template <class Routine>
int with_decoder_as_it_stands(MediaHandle* h, Routine&& routine) {
    return reading_as_it_stands(h, -1, -1, [&](Source& source) {
        if (decoding_context(source.media) != nullptr)
            return routine(source);
        tell_no_video();
        return -1;
    });
}

template <class Routine>
int with_decoder(MediaHandle* h, Routine&& routine) {
    return with_decoder_as_it_stands(h, [&](Source& source) {
        catch_up(source.media);
        return routine(source);
    });
}

int decode_into(Source& source, uint8_t* buffer, AVPacket* packet) {
    imio_picture picture = plain_buffer(source.video, buffer);
    return decode_given(source, picture, packet);
}

}  // namespace
}  // namespace qmio::read

using namespace qmio;

int qmio_video_pkt(MediaHandle* h, uint8_t* buffer, AVPacket* pkt) {
    return read::with_decoder(h, [=](read::Source& source) { return read::decode_into(source, buffer, pkt); });
}

int qmio_video_frame(MediaHandle* h, uint8_t* buffer) {
    return read::with_decoder(h, [=](read::Source& source) {
        AVPacket* const packet = read::video_packet(source);
        return packet != nullptr ? read::decode_into(source, buffer, packet) : 0;
    });
}

int qmio_read_frame(MediaHandle* h, uint8_t* buffer) {
    if (buffer == nullptr)
        return read::refuse_null(0);
    return read::reading_as_it_stands(h, 0, 0, [=](read::Source& source) {
        imio_picture picture = read::plain_buffer(source.video, buffer);
        return read::read_picture(source, picture);
    });
}

int qmio_get_buf(MediaHandle* h, uint8_t* buffer) {
    return read::with_decoder_as_it_stands(h, [=](read::Source& source) {
        imio_picture picture = read::plain_buffer(source.video, buffer);
        return buffer != nullptr ? read::convert_held_picture(source, &picture) : 0;
    });
}

int qmio_is_valid_frame(MediaHandle* h, int kind) {
    return with_handle(h, 0, 0, [=](MediaHandle& handle) { return read::is_valid(handle, kind); });
}

int imio_video_pkt(MediaHandle* h, imio_picture* pic, AVPacket* pkt) {
    if (pic == nullptr)
        return read::refuse_null(-1);
    return read::with_decoder(h, [=](read::Source& source) { return read::decode_given(source, *pic, pkt); });
}

int imio_video_frame(MediaHandle* h, imio_picture* pic) {
    if (pic == nullptr)
        return read::refuse_null(-1);
    // The handle's own packet also while others are read in the background: what a host put there with qmio_pkt_put.
    return read::with_decoder(
        h, [=](read::Source& source) { return read::decode_given(source, *pic, source.reading.packet.get()); });
}

int imio_read_frame(MediaHandle* h, imio_picture* pic) {
    if (pic == nullptr)
        return read::refuse_null(0);
    return read::reading_as_it_stands(h, 0, 0, [=](read::Source& source) { return read::read_picture(source, *pic); });
}

int imio_get_buf(MediaHandle* h, imio_picture* pic) {
    if (pic == nullptr)
        return read::refuse_null(-1);
    return read::with_decoder_as_it_stands(
        h, [=](read::Source& source) { return read::convert_held_picture(source, pic); });
}
