// Numbers about the parts of a file, and about its pictures.
#include <limits>

#include "core/handle/frame_numbers.h"
#include "ffmpeg/display_rotation.h"
#include "info/keys.h"
#include "info/part_numbers.h"

namespace qmio::info {

namespace {

constexpr int64_t kUnknownTime = std::numeric_limits<int64_t>::min();

int64_t in_microseconds(const AVStream& stream, int64_t time) {
    return time != AV_NOPTS_VALUE ? av_rescale_q(time, stream.time_base, AVRational{1, AV_TIME_BASE}) : kUnknownTime;
}

int64_t duration(const MediaHandle& handle, const Part& part) {
    const int64_t whole = handle.container.format_ctx->duration;
    if (part.stream != nullptr)
        return in_microseconds(*part.stream, part.stream->duration);
    return whole != AV_NOPTS_VALUE ? whole : kUnknownTime;
}

int64_t start(const MediaHandle& handle, const Part& part) {
    const int64_t whole = handle.container.format_ctx->start_time;
    if (part.stream != nullptr)
        return in_microseconds(*part.stream, part.stream->start_time);
    return whole != AV_NOPTS_VALUE ? whole : kUnknownTime;
}

int64_t bit_rate(const MediaHandle& handle, const Part& part) {
    return part.stream != nullptr ? part.stream->codecpar->bit_rate : handle.container.format_ctx->bit_rate;
}

int64_t raw_bits(const MediaHandle&, const Part& part) {
    return part.stream != nullptr ? part.stream->codecpar->bits_per_raw_sample : 0;
}

// Layouts of any other order have no mask.
int64_t channel_mask(const MediaHandle&, const Part& part) {
    if (part.kind != PartKind::sound)
        return 0;
    const AVChannelLayout& layout = part.stream->codecpar->ch_layout;
    return layout.order == AV_CHANNEL_ORDER_NATIVE ? static_cast<int64_t>(layout.u.mask) : 0;
}

constexpr PartKey kPartKeys[] = {
    {"duration_us", QMIO_CONTAINER, kUnknownTime, duration},
    {"start_us", QMIO_CONTAINER, kUnknownTime, start},
    {"bit_rate", QMIO_CONTAINER, 0, bit_rate},
    {"bits_per_raw_sample", QMIO_VIDEO, 0, raw_bits},
    {"channel_mask", 0, 0, channel_mask},
};

bool is_valid(AVRational ratio) {
    return ratio.num > 0 && ratio.den > 0;
}

// 0/0 when unknown.
AVRational frame_rate_of(const MediaHandle& handle) {
    if (handle.video.stream == nullptr || handle.container.format_ctx == nullptr)
        return {0, 0};
    const AVRational rate = guessed_frame_rate(handle.container, *handle.video.stream);
    return is_valid(rate) ? rate : AVRational{0, 0};
}

AVRational pixel_aspect_of(const MediaHandle& handle) {
    if (handle.video.stream == nullptr || handle.container.format_ctx == nullptr)
        return {0, 0};
    const AVRational aspect =
        av_guess_sample_aspect_ratio(handle.container.format_ctx.get(), handle.video.stream, nullptr);
    return is_valid(aspect) ? aspect : AVRational{0, 0};
}

}  // namespace

const PartKey* find_part_key(const char* key) {
    return find_key(kPartKeys, key);
}

std::vector<std::string_view> part_keys() {
    return names_in(kPartKeys);
}

int64_t part_number(const MediaHandle& handle, const PartKey& key, int track) {
    Part part;
    return find_part(handle, track, part) ? key.value(handle, part) : key.unknown;
}

int64_t frame_rate_num(const MediaHandle& handle) {
    return frame_rate_of(handle).num;
}
int64_t frame_rate_den(const MediaHandle& handle) {
    return frame_rate_of(handle).den;
}
int64_t pixel_aspect_num(const MediaHandle& handle) {
    return pixel_aspect_of(handle).num;
}
int64_t pixel_aspect_den(const MediaHandle& handle) {
    return pixel_aspect_of(handle).den;
}
int64_t rotation(const MediaHandle& handle) {
    return handle.video.stream != nullptr ? ffmpeg::display_rotation(*handle.video.stream) : 0;
}
int64_t frame_count_origin(const MediaHandle& handle) {
    return static_cast<int64_t>(handle.video.frame_count_origin);
}

}  // namespace qmio::info
