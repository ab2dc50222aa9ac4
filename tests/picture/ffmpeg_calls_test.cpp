// FFmpeg's calls for hosts that do not link FFmpeg.
#include <gtest/gtest.h>

#include <climits>

#include "ffmpeg/owners.h"
#include "qmio.h"

namespace {

using qmio::ffmpeg::FramePtr;

constexpr int kBgra = 30;
constexpr int kGbrp = 82;

TEST(FillArrays, TakesTheFrozenNumber) {
    uint8_t block[64] = {};
    uint8_t* data[4];
    int line_size[4];
    EXPECT_EQ(qmio_image_fill_arrays(data, line_size, block, kGbrp, 4, 2, 1), 24);
    EXPECT_EQ(data[2] - block, 16);
    EXPECT_EQ(line_size[2], 4);
    EXPECT_LT(qmio_image_fill_arrays(data, line_size, block, 342, 4, 2, 1), 0);
    EXPECT_LT(qmio_image_fill_arrays(data, line_size, block, -1, 4, 2, 1), 0);
}

TEST(ScalerHandle, ConvertsBands) {
    SwsContext* scaler = qmio_sws_getContext(4, 2, kBgra, 4, 2, kGbrp, 1, nullptr, nullptr, nullptr);
    ASSERT_NE(scaler, nullptr);
    alignas(64) uint8_t source[256] = {1, 2, 3, 255};
    alignas(64) uint8_t green[128] = {}, blue[128] = {}, red[128] = {};
    const uint8_t* const from[4] = {source};
    const int from_lines[4] = {64};
    uint8_t* const to[4] = {green, blue, red};
    const int to_lines[4] = {64, 64, 64};
    EXPECT_EQ(qmio_sws_scale(scaler, from, from_lines, 0, 2, to, to_lines), 2);
    EXPECT_EQ(green[0], 2);
    EXPECT_EQ(blue[0], 1);
    EXPECT_EQ(red[0], 3);
    qmio_sws_freeContext(scaler);
}

TEST(ScalerHandle, IsNullForUnknownFormatsAndSizes) {
    for (const int format : {-1, 36, 53, 342, INT_MAX, INT_MIN}) {
        EXPECT_EQ(qmio_sws_getContext(4, 2, format, 4, 2, kBgra, 1, nullptr, nullptr, nullptr), nullptr) << format;
        EXPECT_EQ(qmio_sws_getContext(4, 2, kBgra, 4, 2, format, 1, nullptr, nullptr, nullptr), nullptr) << format;
    }
    EXPECT_EQ(qmio_sws_getContext(0, 2, kBgra, 4, 2, kBgra, 1, nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(qmio_sws_getContext(4, 2, kBgra, 4, -1, kBgra, 1, nullptr, nullptr, nullptr), nullptr);
}

TEST(ScalerHandle, ToATargetTwoPixelsWideIsMade) {
    SwsContext* scaler = qmio_sws_getContext(256, 4, kGbrp, 2, 4, 0, 1, nullptr, nullptr, nullptr);
    EXPECT_NE(scaler, nullptr);
    qmio_sws_freeContext(scaler);
}

TEST(FrameAccess, GivesPlanesAndLineSizes) {
    uint8_t pixels[8] = {};
    const FramePtr frame(av_frame_alloc());
    frame->data[1] = pixels;
    frame->linesize[1] = 4;
    EXPECT_EQ(qmio_get_frm_data(frame.get(), 1), pixels);
    EXPECT_EQ(qmio_get_frm_linesize(frame.get(), 1), 4);
    EXPECT_EQ(qmio_get_frm_data(frame.get(), 0), nullptr);
}

TEST(FrameAccess, GivesTheFrozenNumberOfTheFormat) {
    const FramePtr frame(av_frame_alloc());
    EXPECT_EQ(qmio_get_frm_format(frame.get()), -1);
    frame->format = AV_PIX_FMT_GBRP;
    ASSERT_NE(static_cast<int>(AV_PIX_FMT_GBRP), kGbrp);
    EXPECT_EQ(qmio_get_frm_format(frame.get()), kGbrp);
}

TEST(FrameAccess, LeavesTheSampleFormatOfSound) {
    const FramePtr frame(av_frame_alloc());
    frame->nb_samples = 1024;
    frame->format = AV_SAMPLE_FMT_FLTP;
    EXPECT_EQ(qmio_get_frm_format(frame.get()), AV_SAMPLE_FMT_FLTP);
}

TEST(FrameAccess, OutsideAFrameIsNothing) {
    const FramePtr frame(av_frame_alloc());
    for (const int plane : {-1, 8, INT_MAX, INT_MIN}) {
        EXPECT_EQ(qmio_get_frm_data(frame.get(), plane), nullptr) << plane;
        EXPECT_EQ(qmio_get_frm_linesize(frame.get(), plane), 0) << plane;
    }
}

}  // namespace
