// YUV becomes RGB by the matrix and range that a picture tells, against the definitions of the standards.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "ffmpeg/exact_scale.h"

namespace {

using namespace qmio::ffmpeg;

constexpr int kSize = 32;

// How much red and blue count in the brightness.
struct Weights {
    AVColorSpace matrix;
    double red;
    double blue;
};

constexpr Weights kWeights[] = {
    {AVCOL_SPC_BT709, 0.2126, 0.0722},   {AVCOL_SPC_FCC, 0.30, 0.11},         {AVCOL_SPC_BT470BG, 0.299, 0.114},
    {AVCOL_SPC_SMPTE170M, 0.299, 0.114}, {AVCOL_SPC_SMPTE240M, 0.212, 0.087}, {AVCOL_SPC_BT2020_NCL, 0.2627, 0.0593},
};

using Colour = std::array<double, 3>;  // red, green, blue: 0 to 255

constexpr Colour kColours[] = {{0xC0, 0x40, 0x20}, {0, 0, 0},   {255, 255, 255}, {128, 128, 128}, {255, 0, 0},
                               {0, 255, 0},        {0, 0, 255}, {20, 200, 90},   {250, 240, 30},  {60, 20, 180}};

struct Form {
    AVPixelFormat format;
    int bits;
};

constexpr Form kForms[] = {{AV_PIX_FMT_YUV420P, 8},     {AV_PIX_FMT_YUV422P, 8},      {AV_PIX_FMT_YUV444P, 8},
                           {AV_PIX_FMT_NV12, 8},        {AV_PIX_FMT_YUV420P10LE, 10}, {AV_PIX_FMT_YUV422P10LE, 10},
                           {AV_PIX_FMT_YUV444P10LE, 10}};

// The three samples of a colour.
std::array<int, 3> samples(const Colour& colour, const Weights& weights, bool full, int bits) {
    const double y =
        (weights.red * colour[0] + (1 - weights.red - weights.blue) * colour[1] + weights.blue * colour[2]) / 255;
    const double blue = (colour[2] / 255 - y) / (2 * (1 - weights.blue));
    const double red = (colour[0] / 255 - y) / (2 * (1 - weights.red));
    const double scale = std::pow(2, bits - 8);
    const double top = std::pow(2, bits) - 1;
    const auto luma = [&](double value) { return full ? value * top : (16 + 219 * value) * scale; };
    const auto chroma = [&](double value) { return 128 * scale + value * (full ? top : 224 * scale); };
    const auto whole = [&](double value) { return static_cast<int>(std::lround(std::clamp(value, 0.0, top))); };
    return {whole(luma(y)), whole(chroma(blue)), whole(chroma(red))};
}

FramePtr filled(const Form& form, const std::array<int, 3>& values) {
    FramePtr frame;
    EXPECT_TRUE(prepare_aligned(frame, form.format, kSize, kSize));
    // The function that writes samples adds them to what is there.
    for (const AVBufferRef* buffer : frame->buf)
        if (buffer != nullptr)
            std::fill_n(buffer->data, buffer->size, uint8_t{0});
    const AVPixFmtDescriptor* const format = av_pix_fmt_desc_get(form.format);
    for (int component = 0; component < 3; ++component) {
        const int width = AV_CEIL_RSHIFT(kSize, component > 0 ? format->log2_chroma_w : 0);
        const int height = AV_CEIL_RSHIFT(kSize, component > 0 ? format->log2_chroma_h : 0);
        const std::vector<uint16_t> line(kSize, static_cast<uint16_t>(values[static_cast<std::size_t>(component)]));
        for (int row = 0; row < height; ++row)
            av_write_image_line(line.data(), frame->data, frame->linesize, format, 0, row, component, width);
    }
    return frame;
}

// The pixel in the middle, converted; red, green, blue.
Colour converted(const Picture& source, AVPixelFormat target_format, int target_size, int flags = SWS_FAST_BILINEAR) {
    FramePtr target;
    FramePtr scratch;
    EXPECT_TRUE(prepare_aligned(target, target_format, target_size, target_size));
    EXPECT_EQ(scale_exactly(source, picture_in_frame(*target), flags, scratch), target_size);
    const AVPixFmtDescriptor* const format = av_pix_fmt_desc_get(target_format);
    const std::array<const uint8_t*, 4> planes{target->data[0], target->data[1], target->data[2], target->data[3]};
    Colour colour{};
    for (int component = 0; component < 3; ++component) {
        uint16_t value = 0;
        av_read_image_line(&value, const_cast<const uint8_t**>(planes.data()), target->linesize, format,
                           target_size / 2, target_size / 2, component, 1, 0);
        colour[static_cast<std::size_t>(component)] = value >> (format->comp[component].depth - 8);
    }
    return colour;
}

double distance(const Colour& left, const Colour& right) {
    double most = 0;
    for (std::size_t component = 0; component < 3; ++component)
        most = std::max(most, std::abs(left[component] - right[component]));
    return most;
}

class ToldColours : public testing::Test {
  protected:
    ToldColours() { av_log_set_level(AV_LOG_QUIET); }
};

// Every matrix, range, target and size for one form and one way to scale, which may be that far off.
void expect_what_was_meant(const Form& form, int flags, double tolerance) {
    for (const Weights& weights : kWeights)
        for (const bool full : {false, true})
            for (const AVPixelFormat target : {AV_PIX_FMT_BGRA, AV_PIX_FMT_RGB24, AV_PIX_FMT_RGB48LE, AV_PIX_FMT_GBRP})
                for (const int size : {kSize, kSize + 14})
                    for (const Colour& colour : kColours) {
                        const FramePtr frame = filled(form, samples(colour, weights, full, form.bits));
                        Picture source = picture_in_frame(*frame);
                        source.matrix = weights.matrix;
                        source.range = full ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
                        const Colour got = converted(source, target, size, flags);
                        ASSERT_LE(distance(got, colour), tolerance)
                            << av_get_pix_fmt_name(form.format) << " to " << av_get_pix_fmt_name(target) << " of "
                            << size << ", " << av_color_space_name(weights.matrix) << (full ? ", full: " : ": ")
                            << colour[0] << ' ' << colour[1] << ' ' << colour[2] << " became " << got[0] << ' '
                            << got[1] << ' ' << got[2];
                    }
}

TEST_F(ToldColours, AreThoseThatWereMeant) {
    for (const Form& form : kForms)
        expect_what_was_meant(form, SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, 2);
}

// Some of libswscale's fast ways round down at every step.
TEST_F(ToldColours, AreAlmostThoseByFastScaling) {
    for (const Form& form : kForms)
        expect_what_was_meant(form, SWS_FAST_BILINEAR, 5);
}

TEST_F(ToldColours, AreLibswscalesOwnWhereNothingIsTold) {
    const Colour orange = kColours[0];
    const FramePtr frame = filled(kForms[0], samples(orange, kWeights[0], false, 8));
    Picture source = picture_in_frame(*frame);
    const Colour plain = converted(source, AV_PIX_FMT_BGRA, kSize);
    EXPECT_LE(distance(plain, {0xB3, 0x31, 0x20}), 2);
    for (const AVColorSpace matrix :
         {AVCOL_SPC_UNSPECIFIED, AVCOL_SPC_RESERVED, AVCOL_SPC_RGB, AVCOL_SPC_YCGCO, AVCOL_SPC_ICTCP}) {
        source.matrix = matrix;
        EXPECT_EQ(converted(source, AV_PIX_FMT_BGRA, kSize), plain);
    }
}

TEST_F(ToldColours, ChangeNothingThatDoesNotBecomeRgb) {
    const FramePtr frame = filled(kForms[0], {120, 90, 160});
    Picture source = picture_in_frame(*frame);
    source.matrix = AVCOL_SPC_BT709;
    source.range = AVCOL_RANGE_JPEG;
    const Colour expected{120, 90, 160};
    EXPECT_EQ(converted(source, AV_PIX_FMT_YUV444P, kSize), expected);
    EXPECT_LE(distance(converted(source, AV_PIX_FMT_YUV444P, kSize + 14), expected), 1);
}

TEST_F(ToldColours, StayFullWhereTheFormatSaysSo) {
    const FramePtr frame = filled({AV_PIX_FMT_YUVJ444P, 8}, samples(kColours[7], kWeights[0], true, 8));
    Picture source = picture_in_frame(*frame);
    source.matrix = AVCOL_SPC_BT709;
    for (const AVColorRange range : {AVCOL_RANGE_JPEG, AVCOL_RANGE_UNSPECIFIED}) {
        source.range = range;
        EXPECT_LE(distance(converted(source, AV_PIX_FMT_BGRA, kSize), kColours[7]), 2);
    }
}

}  // namespace
