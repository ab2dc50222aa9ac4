#include "core/handle/frame_numbers.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qmio {

namespace {

// Frame numbers and rates of damaged files overflow 64 bits; the products are taken in 128 and the result is clamped.
__extension__ using Wide = __int128;

int64_t clamp(Wide value) {
    constexpr Wide low = std::numeric_limits<int64_t>::min();
    constexpr Wide high = std::numeric_limits<int64_t>::max();
    return static_cast<int64_t>(std::clamp(value, low, high));
}

int32_t to_int32(double value) {
    constexpr double low = std::numeric_limits<int32_t>::min();
    constexpr double high = std::numeric_limits<int32_t>::max() - 1;  // the number after it is wanted next
    return std::isnan(value) ? kNoFrame : static_cast<int32_t>(std::clamp(value, low, high));
}

}  // namespace

int64_t start_or_zero(const AVStream& stream) {
    return stream.start_time != AV_NOPTS_VALUE ? stream.start_time : 0;
}

AVRational guessed_frame_rate(const Container& container, AVStream& stream) {
    return av_guess_frame_rate(container.format_ctx.get(), &stream, nullptr);
}

int64_t frame_to_timestamp(const Container& container, AVStream& stream, int64_t frame) {
    const AVRational rate = guessed_frame_rate(container, stream);
    if (rate.num == 0 || stream.time_base.num == 0)
        return start_or_zero(stream);
    const Wide offset = Wide{frame} * rate.den * stream.time_base.den / rate.num / stream.time_base.num;
    return clamp(offset + start_or_zero(stream));
}

int64_t timestamp_to_frame(const AVStream& stream, int64_t timestamp) {
    const AVRational rate = stream.r_frame_rate;
    if (rate.den == 0 || stream.time_base.den == 0)
        return 0;
    const Wide offset = Wide{timestamp} - start_or_zero(stream);
    return clamp(offset * stream.time_base.num * rate.num / rate.den / stream.time_base.den);
}

int64_t picture_timestamp(const AVFrame& frame, const AVPacket* packet) {
    if (frame.pts != AV_NOPTS_VALUE)
        return frame.pts;
    if (frame.pkt_dts != AV_NOPTS_VALUE)
        return frame.pkt_dts;
    if (packet == nullptr)
        return AV_NOPTS_VALUE;
    return packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
}

int32_t frame_number_at(const Video& video, int64_t timestamp) {
    const AVStream& stream = *video.stream;
    const AVRational rate = video.frame_rate;
    const double offset = static_cast<double>(timestamp) - static_cast<double>(start_or_zero(stream));
    const double number = std::round(offset * rate.num * stream.time_base.num / rate.den / stream.time_base.den);
    return to_int32(number + video.number_shift);
}

std::optional<int32_t> frame_number_of(const Video& video, const AVPacket& packet, int64_t timestamp) {
    if (video.counted != nullptr) {
        const int32_t number = video.counted->number_of(packet);
        return number != CountedPictures::kNone ? std::optional(number) : std::nullopt;
    }
    return timestamp != AV_NOPTS_VALUE ? std::optional(frame_number_at(video, timestamp)) : std::nullopt;
}

int32_t frame_number_of(const Video& video, const AVFrame& picture, const AVPacket* packet) {
    if (video.stream == nullptr)
        return kNoFrame;
    const int64_t timestamp = picture_timestamp(picture, packet);
    return timestamp != AV_NOPTS_VALUE ? frame_number_at(video, timestamp) : video.want_frame;
}

int64_t scale_time(int64_t value, AVRational time_base, int64_t scale) {
    if (time_base.den == 0)
        return 0;
    return clamp(Wide{value} * time_base.num * scale / time_base.den);
}

}  // namespace qmio
