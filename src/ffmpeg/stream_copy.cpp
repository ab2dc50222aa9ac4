#include "ffmpeg/stream_copy.h"

#include <cstring>
#include <limits>

namespace qmio::ffmpeg {

namespace {

constexpr double kFineClock = 1.0 / 500;

// A coded picture of these may be one field, so their clocks count fields.
int ticks_per_frame(AVCodecID codec) {
    switch (codec) {
        case AV_CODEC_ID_H264:
        case AV_CODEC_ID_MPEG1VIDEO:
        case AV_CODEC_ID_MPEG2VIDEO:
            return 2;
        default:
            return 1;
    }
}

AVRational reduced(int64_t num, int64_t den) {
    AVRational result{0, 1};
    av_reduce(&result.num, &result.den, num, den, std::numeric_limits<int>::max());
    return result;
}

bool is_avi(const AVOutputFormat& format) {
    return std::strcmp(format.name, "avi") == 0;
}

// Muxers that write the time of every packet, though they had FFmpeg's flag for variable rates not before 7.0.
bool writes_every_time(const AVOutputFormat& format) {
    return av_match_name(format.name, "mov,mp4,3gp,3g2,psp,ipod,ismv,f4v") != 0;
}

// The source's clock is finer than its pictures need, and the container is better off without.
bool goes_by_rate(const AVOutputFormat& format, const SourceTimes& times) {
    const double picture = av_q2d(times.codec_time_base) * times.ticks_per_frame;
    const double tick = av_q2d(times.stream_time_base);
    if (tick >= kFineClock)
        return false;
    if (is_avi(format))
        return picture > 2 * tick;
    const bool is_variable = (format.flags & AVFMT_VARIABLE_FPS) != 0 && !writes_every_time(format);
    return !is_variable && picture > tick;
}

// Since FFmpeg 6.1 it is part of the parameters.
#if LIBAVFORMAT_VERSION_INT < AV_VERSION_INT(60, 15, 100)
bool copy_side_data(AVStream& target, const AVStream& source) {
    for (int entry = 0; entry < source.nb_side_data; ++entry) {
        const AVPacketSideData& from = source.side_data[entry];
        uint8_t* const bytes = av_stream_new_side_data(&target, from.type, from.size);
        if (bytes == nullptr)
            return false;
        std::memcpy(bytes, from.data, from.size);
    }
    return true;
}
#else
bool copy_side_data(AVStream&, const AVStream&) {
    return true;
}
#endif

}  // namespace

SourceTimes video_times(AVCodecID codec, AVRational frame_rate, AVRational stream_time_base) {
    const int ticks = ticks_per_frame(codec);
    const bool known = frame_rate.num > 0 && frame_rate.den > 0;
    const AVRational tick = known ? reduced(frame_rate.den, int64_t{frame_rate.num} * ticks) : AVRational{0, 1};
    return {tick, ticks, stream_time_base};
}

AVRational codec_time_base_of_copy(const AVOutputFormat& format, const SourceTimes& times) {
    const AVRational tick = times.codec_time_base;
    if (!goes_by_rate(format, times))
        return reduced(tick.num, tick.den);
    // Half a picture in AVI, so that pictures that come a little early or late still have a place.
    return reduced(int64_t{tick.num} * times.ticks_per_frame, int64_t{tick.den} * (is_avi(format) ? 2 : 1));
}

AVRational stream_time_base_of_copy(const AVOutputFormat& format, const SourceTimes& times) {
    const bool by_rate = goes_by_rate(format, times) && !writes_every_time(format);
    return by_rate ? codec_time_base_of_copy(format, times) : times.stream_time_base;
}

uint32_t tag_of_copy(const AVOutputFormat& format, AVCodecID codec, uint32_t tag) {
    unsigned other = 0;
    const bool keeps = format.codec_tag == nullptr || av_codec_get_id(format.codec_tag, tag) == codec ||
                       av_codec_get_tag2(format.codec_tag, codec, &other) == 0;
    return keeps ? tag : 0;
}

bool copy_description(AVStream& target, const AVStream& source, const AVOutputFormat& format) {
    if (avcodec_parameters_copy(target.codecpar, source.codecpar) < 0)
        return false;
    target.codecpar->codec_tag = tag_of_copy(format, source.codecpar->codec_id, source.codecpar->codec_tag);
    target.disposition = source.disposition;
    return copy_side_data(target, source);
}

}  // namespace qmio::ffmpeg
