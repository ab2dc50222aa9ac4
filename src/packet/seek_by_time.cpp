#include "packet/seek_by_time.h"

namespace qmio::packet {

namespace {

AVStream* stream_of_kind(const MediaHandle& handle, int kind) {
    if (kind == kVideoKind)
        return handle.reader.video_st;
    return kind == kAudioKind ? handle.audio.track_av_stream[0] : nullptr;
}

int64_t timestamp_at(const MediaHandle& handle, const AVStream& stream, int64_t time_us) {
    if (stream.time_base.num == 0)
        return 0;
    const int64_t first = handle.reader.clock.first_dts(stream);
    const int64_t offset = av_rescale_rnd(time_us, stream.time_base.den, stream.time_base.num, AV_ROUND_ZERO);
    return offset / AV_TIME_BASE + (first != AV_NOPTS_VALUE ? first : 0);
}

}  // namespace

int seek_by_time(MediaHandle& handle, int64_t time_us, int kind) {
    if (!is_demuxing(handle))
        return AVERROR(EBADF);
    const AVStream* stream = stream_of_kind(handle, kind);
    const int64_t timestamp = stream != nullptr ? timestamp_at(handle, *stream, time_us) : time_us;
    const int result =
        av_seek_frame(handle.format_ctx.get(), stream != nullptr ? stream->index : -1, timestamp, AVSEEK_FLAG_BACKWARD);
    handle.reader.moved = true;
    flush_video_decoder(handle);
    flush_audio_decoders(handle);
    return result;
}

}  // namespace qmio::packet
