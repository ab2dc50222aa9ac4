#include "ffmpeg/copy_clock.h"

#include <algorithm>

namespace qmio::ffmpeg {

namespace {

constexpr int kTicksPerSecond = 705'600'000;  // every usual frame and sample rate divides it
constexpr AVRational kTick{1, kTicksPerSecond};
constexpr int64_t kSmallStep = kTicksPerSecond / 10;  // that streams may go back without having begun anew
constexpr int64_t kWideGap = int64_t{10} * kTicksPerSecond;

// Far from the ends of what 64 bits hold, where damaged files have times as well, so that sums do not overflow.
int64_t ticks_of(int64_t time, AVRational time_base) {
    constexpr int64_t most = int64_t{1} << 59;
    return std::clamp(av_rescale_q(time, time_base, kTick), -most, most);
}

int64_t picture_ticks(const AVStream& stream) {
    const AVRational rate = stream.avg_frame_rate.num > 0 ? stream.avg_frame_rate : stream.r_frame_rate;
    return rate.num > 0 && rate.den > 0 ? ticks_of(1, av_inv_q(rate)) : 0;
}

// Samples that the packet holds; 0 when unknown and for other streams.
int samples_of(const AVPacket& packet, const AVStream& stream) {
    if (stream.codecpar->codec_type != AVMEDIA_TYPE_AUDIO || stream.codecpar->sample_rate <= 0)
        return 0;
    return av_get_audio_frame_duration2(stream.codecpar, packet.size);
}

int64_t length_of(const AVPacket& packet, const AVStream& stream) {
    if (packet.duration > 0)
        return ticks_of(packet.duration, stream.time_base);
    const int samples = samples_of(packet, stream);
    return samples > 0 ? ticks_of(samples, {1, stream.codecpar->sample_rate}) : picture_ticks(stream);
}

// Of a stream's first packet without dts: as many pictures before its pts as the codec reorders. Without pts as well,
// the stream begins at 0: what lies before that, players do not show.
int64_t first_dts(const AVPacket& packet, const AVStream& stream) {
    if (packet.pts == AV_NOPTS_VALUE)
        return 0;
    return ticks_of(packet.pts, stream.time_base) - stream.codecpar->video_delay * picture_ticks(stream);
}

void move(int64_t& time, CopyClock::Shift shift, AVRational time_base) {
    if (time != AV_NOPTS_VALUE && shift != 0)
        time = av_sat_add64(time, av_rescale_q(shift, kTick, time_base));
}

int64_t middle_of(int64_t a, int64_t b, int64_t c) {
    return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

}  // namespace

void CopyClock::stamp(AVPacket& packet, const CopyPath& path, Shift& shared) {
    place(packet, path, shared);
    rescale(packet, path);
    if ((path.format.flags & AVFMT_NOTIMESTAMPS) == 0)
        keep_order(packet, path);
}

void CopyClock::place(AVPacket& packet, const CopyPath& path, Shift& shared) {
    const AVRational time_base = path.source.time_base;
    const bool known = packet.dts != AV_NOPTS_VALUE;
    if (known)
        change_shift(shift_for(ticks_of(packet.dts, time_base), shared), shared);
    move(packet.pts, shift_, time_base);
    move(packet.dts, shift_, time_base);
    if (!known) {
        next_ = next_ != AV_NOPTS_VALUE ? next_ : first_dts(packet, path.source);
        packet.dts = av_rescale_q(next_, kTick, time_base);
    }
    last_ = known ? ticks_of(packet.dts, time_base) : next_;
    next_ = last_ + length_of(packet, path.source);
}

CopyClock::Shift CopyClock::shift_for(int64_t dts, Shift shared) const {
    if (last_ == AV_NOPTS_VALUE)
        return shared;
    for (const Shift known : {shift_, shared, Shift{0}})
        if (follows(dts + known))
            return known;
    const bool goes_back = dts + shift_ < last_;
    return goes_back ? next_ - dts : shift_;
}

void CopyClock::change_shift(Shift shift, Shift& shared) {
    if (shift != shift_)
        shared = shift_ = shift;
}

bool CopyClock::follows(int64_t dts) const {
    return dts >= last_ - kSmallStep && dts <= next_ + kWideGap;
}

void CopyClock::rescale(AVPacket& packet, const CopyPath& path) {
    const int samples = samples_of(packet, path.source);
    const int64_t dts = packet.dts;
    const bool is_even_sound =
        samples > 0 && dts != AV_NOPTS_VALUE && (packet.pts == dts || packet.pts == AV_NOPTS_VALUE);
    av_packet_rescale_ts(&packet, path.source.time_base, path.target.time_base);
    // A container with a coarse clock rounds the times of sound; its packets follow one another without gaps all the same.
    if (is_even_sound)
        packet.pts = packet.dts = av_rescale_delta(path.source.time_base, dts, {1, path.source.codecpar->sample_rate},
                                                   samples, &delta_, path.target.time_base);
}

// The rules of the ffmpeg program for streams that it copies. Beyond them, a packet without pts gets its dts: most muxers
// take none without.
void CopyClock::keep_order(AVPacket& packet, const CopyPath& path) {
    const int64_t step = (path.format.flags & AVFMT_TS_NONSTRICT) == 0 ? 1 : 0;
    const int64_t earliest = last_target_ == AV_NOPTS_VALUE ? packet.dts : av_sat_add64(last_target_, step);
    if (packet.pts == AV_NOPTS_VALUE)
        packet.pts = packet.dts;
    if (packet.dts > packet.pts)
        packet.pts = packet.dts = middle_of(packet.pts, packet.dts, av_sat_add64(last_target_, 1));
    if (packet.dts < earliest) {
        packet.pts = packet.pts >= packet.dts ? std::max(packet.pts, earliest) : packet.pts;
        packet.dts = earliest;
    }
    last_target_ = packet.dts;
}

}  // namespace qmio::ffmpeg
