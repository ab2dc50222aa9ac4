#include "read/position.h"

#include "core/handle/frame_index.h"
#include "core/handle/frame_numbers.h"

namespace qmio::read {

namespace {

constexpr int kAnyByte = AVSEEK_FLAG_BYTE | AVSEEK_FLAG_ANY;

bool can_seek_bytes(const Container& container) {
    const AVIOContext* io = container.format_ctx != nullptr ? container.format_ctx->pb : nullptr;
    return io != nullptr && (io->seekable & AVIO_SEEKABLE_NORMAL) != 0;
}

// Long before anything: some containers then give their first packet, others refuse, so forward from there comes next,
// and the first byte last.
bool reach_start(Source& source, const AVStream& stream) {
    const int64_t long_before = av_sat_sub64(
        start_or_zero(stream), av_rescale_q(int64_t{86400} * AV_TIME_BASE, AV_TIME_BASE_Q, stream.time_base));
    return position_by_time(source, long_before, AVSEEK_FLAG_BACKWARD) >= 0 ||
           position_by_time(source, long_before, 0) >= 0 ||
           (can_seek_bytes(source.container) && position_by_time(source, 0, kAnyByte) >= 0);
}

}  // namespace

void flush_decoders(Source& source) {
    flush_video_decoder(source.video, source.reading);
    flush_audio_decoders(source.tracks, source.sound);
    source.video.have_frame = kNoFrame;
}

int64_t indexed_frames(const Container& container) {
    return frame_index::frame_total(container.index_mapping.get());
}

int position_by_index(Source& source, int32_t frame) {
    const int64_t position = frame_index::position(*source.container.index_mapping, frame);
    return seek_container(source.container, source.video.stream_index, position, kAnyByte);
}

int position_by_time(Source& source, int64_t timestamp, int flags) {
    return seek_container(source.container, source.video.stream_index, timestamp, flags);
}

bool position_before(Source& source, int32_t frame, bool by_time) {
    if (source.video.stream == nullptr)
        return false;
    const bool indexed = !by_time && frame < indexed_frames(source.container);
    const int64_t timestamp = frame_to_timestamp(source.container, *source.video.stream, frame);
    const int result =
        indexed ? position_by_index(source, frame) : position_by_time(source, timestamp, AVSEEK_FLAG_BACKWARD);
    if (result >= 0)
        flush_decoders(source);
    return result >= 0;
}

bool position_at_start(Source& source) {
    if (source.video.stream == nullptr || !reach_start(source, *source.video.stream))
        return false;
    flush_decoders(source);
    source.video.want_frame = 0;
    return true;
}

}  // namespace qmio::read
