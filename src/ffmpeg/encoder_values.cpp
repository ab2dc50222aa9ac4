#include "ffmpeg/encoder_values.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>

#include "ffmpeg/catalogue.h"

namespace qmio::ffmpeg {
namespace {

bool is_without_pixel_format(const AVCodecContext& context) {
    return av_pix_fmt_desc_get(context.pix_fmt) == nullptr;
}

bool is_without_channels(const AVCodecContext& context) {
    return context.ch_layout.nb_channels < 1;
}

bool overflows_in_a_second(const AVCodecContext& context) {
    return int64_t{context.sample_rate} * context.ch_layout.nb_channels > std::numeric_limits<int>::max();
}

// A time base beyond its 16 bits is rounded to thousandths of a picture per second: of less than half a one, 0 is left.
bool is_rounded_to_no_rate(const AVCodecContext& context) {
    constexpr int kLargestTerm = 65000;
    AVRational base = context.time_base;
    av_reduce(&base.num, &base.den, base.num, base.den, std::numeric_limits<int>::max());
    return base.num > kLargestTerm && int64_t{base.den} * 2000 <= base.num;
}

int64_t pixels(const AVCodecContext& context) {
    return int64_t{context.width} * context.height;
}

bool is_shorter_than_its_header(const AVCodecContext& context) {
    return pixels(context) > 0 && pixels(context) * 3 < 4;
}

// The packet is made for 6 bytes a pixel, and takes 32 for every block of 4 x 4 that the picture has a part in.
bool outgrows_its_packet(const AVCodecContext& context) {
    const int64_t blocks = (int64_t{context.width} + 3) / 4 * ((int64_t{context.height} + 3) / 4);
    return pixels(context) > 0 && 4 + blocks * 32 > pixels(context) * 6;
}

// Found by opening every encoder of FFmpeg 5.1 with every bad value of every parameter, and encoding: rawvideo reads the
// description of a format that has none, wavpack doubles its block for ever until there are enough values in it, Xvid
// divides by 0, and an assertion aborts the process where FlashSV and RPZA write behind their packets.
struct Row {
    std::string_view encoder;
    const char* value;
    bool (*is_deadly)(const AVCodecContext& context);
};

constexpr Row kRows[] = {
    {"rawvideo", "pixel format", is_without_pixel_format}, {"wavpack", "number of channels", is_without_channels},
    {"wavpack", "sample rate", overflows_in_a_second},     {"flashsv", "picture size", is_shorter_than_its_header},
    {"rpza", "picture size", outgrows_its_packet},         {"libxvid", "frame rate", is_rounded_to_no_rate},
};

// An assertion aborts the process where their rate control meets costs that no picture can have.
constexpr std::string_view kTrustSamples[] = {"libaom-av1", "libx264"};

// Bits of 16 in which no sample of the format may have a one; 0 where it has none of them, or samples are bytes.
uint16_t unused_bits(const AVPixFmtDescriptor& format) {
    const AVComponentDescriptor& sample = format.comp[0];
    const bool is_known = (format.flags & (AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_HWACCEL)) == 0;
    if (!is_known || sample.depth <= 8 || sample.depth >= 16)
        return 0;
    return static_cast<uint16_t>(~(((1U << sample.depth) - 1) << sample.shift));
}

uint16_t all_bits(const uint8_t* row, int bytes) {
    unsigned bits = 0;
    for (int at = 0; at + 1 < bytes; at += 2) {
        uint16_t sample = 0;
        std::memcpy(&sample, row + at, sizeof sample);
        bits |= sample;
    }
    return static_cast<uint16_t>(bits);
}

uint16_t all_bits(const AVFrame& picture, const AVPixFmtDescriptor& format, int plane) {
    const auto pixels = static_cast<AVPixelFormat>(picture.format);
    const int shift = plane == 1 || plane == 2 ? format.log2_chroma_h : 0;
    const int bytes = av_image_get_linesize(pixels, picture.width, plane);
    unsigned bits = 0;
    for (int row = 0; row < AV_CEIL_RSHIFT(picture.height, shift); ++row)
        bits |= all_bits(picture.data[plane] + std::ptrdiff_t{row} * picture.linesize[plane], bytes);
    return static_cast<uint16_t>(bits);
}

bool takes(const AVChannelLayout* list, const AVChannelLayout& layout) {
    for (; list->nb_channels > 0; ++list)
        if (av_channel_layout_compare(list, &layout) == 0)
            return true;
    return false;
}

const AVChannelLayout* first_of(const AVChannelLayout* list, int channels) {
    for (; list->nb_channels > 0; ++list)
        if (list->nb_channels == channels)
            return list;
    return nullptr;
}

}  // namespace

void set_channels(AVCodecContext& context, const AVCodec& encoder, int channels) {
    av_channel_layout_default(&context.ch_layout, channels);
    const AVChannelLayout* const list = channel_layouts(encoder);
    if (list == nullptr || takes(list, context.ch_layout))
        return;
    if (const AVChannelLayout* own = first_of(list, channels); own != nullptr)
        av_channel_layout_copy(&context.ch_layout, own);
}

void take_named_layout(AVCodecContext& context, const Dictionary& options) {
    for (const char* key : {"channel_layout", "ch_layout"}) {
        AVChannelLayout named = {};
        // What is no layout is for the encoder's opening to refuse.
        if (const char* text = options.get(key); text != nullptr && av_channel_layout_from_string(&named, text) >= 0)
            av_channel_layout_copy(&context.ch_layout, &named);
        av_channel_layout_uninit(&named);
    }
}

int check_unchecked_values(AVCodecContext& context, const AVCodec& encoder) {
    if (av_codec_is_encoder(&encoder) == 0)
        return 0;
    for (const Row& row : kRows)
        if (row.encoder == encoder.name && row.is_deadly(context)) {
            av_log(&context, AV_LOG_ERROR, "The %s is missing or out of range\n", row.value);
            return AVERROR(EINVAL);
        }
    return 0;
}

int check_unchecked_samples(AVCodecContext& context, const AVFrame& picture) {
    const auto pixels = static_cast<AVPixelFormat>(picture.format);
    const AVPixFmtDescriptor* const format = av_pix_fmt_desc_get(pixels);
    const uint16_t unused = format != nullptr ? unused_bits(*format) : uint16_t{0};
    if (unused == 0 ||
        std::ranges::find(kTrustSamples, std::string_view(context.codec->name)) == std::end(kTrustSamples))
        return 0;
    for (int plane = 0; plane < av_pix_fmt_count_planes(pixels); ++plane)
        if ((all_bits(picture, *format, plane) & unused) != 0) {
            av_log(&context, AV_LOG_ERROR, "A sample has more bits than the pixel format\n");
            return AVERROR(EINVAL);
        }
    return 0;
}

}  // namespace qmio::ffmpeg
