#include "packet/seek_by_time.h"

namespace qmio::packet {

namespace {

AVStream* stream_of_kind(const MediaHandle& handle, int kind) {
    if (kind == kVideoKind)
        return handle.video.stream;
    return kind == kAudioKind ? handle.tracks.first().stream : nullptr;
}

int64_t timestamp_at(const Container& container, const AVStream& stream, int64_t time_us) {
    if (stream.time_base.num == 0)
        return 0;
    const int64_t first = container.clock.first_dts(stream);
    const int64_t offset = av_rescale_rnd(time_us, stream.time_base.den, stream.time_base.num, AV_ROUND_ZERO);
    return offset / AV_TIME_BASE + (first != AV_NOPTS_VALUE ? first : 0);
}

}  // namespace

int seek_by_time(MediaHandle& handle, int64_t time_us, int kind) {
    if (!is_demuxing(handle.container))
        return AVERROR(EBADF);
    const AVStream* stream = stream_of_kind(handle, kind);
    const int64_t timestamp = stream != nullptr ? timestamp_at(handle.container, *stream, time_us) : time_us;
    const int result =
        seek_container(handle.container, stream != nullptr ? stream->index : -1, timestamp, AVSEEK_FLAG_BACKWARD);
    // A demuxer that failed to seek may have moved all the same.
    handle.container.moved = true;
    flush_video_decoder(handle.video, handle.reading);
    flush_audio_decoders(handle.tracks, handle.sound);
    return result;
}

}  // namespace qmio::packet
