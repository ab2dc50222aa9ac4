#include "packet/seek_by_time.h"

namespace qmio::packet {

namespace {

AVStream* stream_of_kind(const Video& video, const Tracks& tracks, int kind) {
    if (kind == kVideoKind)
        return video.stream;
    return kind == kAudioKind ? tracks.first().stream : nullptr;
}

int64_t timestamp_at(const Container& container, const AVStream& stream, int64_t time_us) {
    if (stream.time_base.num == 0)
        return 0;
    const int64_t first = container.clock.first_dts(stream);
    const int64_t offset = av_rescale_rnd(time_us, stream.time_base.den, stream.time_base.num, AV_ROUND_ZERO);
    return av_sat_add64(offset / AV_TIME_BASE, first != AV_NOPTS_VALUE ? first : 0);
}

}  // namespace

int seek_by_time(Container& container, const Video& video, const Tracks& tracks, int64_t time_us, int kind) {
    if (!is_demuxing(container))
        return AVERROR(EBADF);
    const AVStream* stream = stream_of_kind(video, tracks, kind);
    const int64_t timestamp = stream != nullptr ? timestamp_at(container, *stream, time_us) : time_us;
    const int result =
        seek_container(container, stream != nullptr ? stream->index : -1, timestamp, AVSEEK_FLAG_BACKWARD);
    // A demuxer that failed to seek may have moved all the same.
    container.moved = true;
    return result;
}

}  // namespace qmio::packet
