// Conversions into memory of exactly a picture's size, between pages that cannot be touched.
#include "ffmpeg/exact_scale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "ffmpeg/conversions.h"
#include "support/memory_fill.h"

namespace {

using namespace qmio::ffmpeg;
using namespace qmio::test;

constexpr uint32_t kSeed = 20;

void expect_exact(const Conversion& conversion) {
    EXPECT_EQ(fault_of(conversion, random_pixels(conversion, kSeed)), "") << conversion;
}

// Silent: libswscale complains about every YUVJ format.
class ExactScale : public testing::Test {
  protected:
    ExactScale() { av_log_set_level(AV_LOG_QUIET); }
};

constexpr int kAlgorithms[] = {SWS_FAST_BILINEAR, SWS_BILINEAR, SWS_BICUBIC, SWS_POINT};

TEST_F(ExactScale, RowsOfWholeVectorsStayInsideBothPictures) {
    std::mt19937 random(8);
    const auto targets = software_formats(sws_isSupportedOutput);
    for (const AVPixelFormat source : software_formats(sws_isSupportedInput))
        for (int round = 0; round < 8; ++round)
            expect_exact(same_size(source, targets[random() % targets.size()], 256, 4, kAlgorithms[round % 4]));
}

TEST_F(ExactScale, EveryWidthOfTheCommonConversionsIsExact) {
    for (int width = 1; width <= 70; ++width)
        for (const AVPixelFormat source : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_NV12, AV_PIX_FMT_BGRA, AV_PIX_FMT_RGB24})
            for (const AVPixelFormat target :
                 {AV_PIX_FMT_BGRA, AV_PIX_FMT_ARGB, AV_PIX_FMT_BGR24, AV_PIX_FMT_YUV420P, AV_PIX_FMT_RGB444LE})
                for (const int height : {2, 3})
                    expect_exact(same_size(source, target, width, height));
}

TEST_F(ExactScale, VideoWidthsAreExact) {
    for (const int width : {200, 340, 426, 854, 1279, 1920})
        for (const AVPixelFormat target : {AV_PIX_FMT_BGRA, AV_PIX_FMT_RGB24, AV_PIX_FMT_UYVY422, AV_PIX_FMT_YUV420P})
            for (const int source_width : {width, 640})
                expect_exact({AV_PIX_FMT_YUV420P, target, source_width, 16, width, 16, SWS_FAST_BILINEAR});
}

TEST_F(ExactScale, BuffersNeedNoAlignment) {
    const Conversion job = same_size(AV_PIX_FMT_NV21, AV_PIX_FMT_YUV420P, 128, 8);
    const Bytes pixels = random_pixels(job, kSeed);
    ASSERT_EQ(fault_of(job, pixels), "");
    const Bytes truth = converted(job, pixels, Place::end, 0).pixels;
    for (const std::size_t offset : {1U, 4U, 8U}) {
        Bytes memory(packed_size(job.target, 128, 8) + 16 + offset);
        uint8_t* target = memory.data() + offset;
        FramePtr scratch;
        EXPECT_EQ(scale_exactly(picture_in_block(pixels.data(), job.source, 128, 8, 1),
                                picture_in_block(target, job.target, 128, 8, 1), job.flags, scratch),
                  8);
        EXPECT_TRUE(std::equal(truth.begin(), truth.end(), target)) << offset;
    }
}

TEST_F(ExactScale, PackedColoursOfAnOddHeightFillTheLastRowOfChroma) {
    // One colour: U and V are 80 and 200 everywhere.
    Bytes pixels;
    for (int pair = 0; pair < 8 * 5; ++pair)
        pixels.insert(pixels.end(), {16, 80, 16, 200});
    const Converted result =
        converted(same_size(AV_PIX_FMT_YUYV422, AV_PIX_FMT_YUV420P, 16, 5), pixels, Place::end, 0x55);
    ASSERT_EQ(result.rows, 5);
    EXPECT_TRUE(std::all_of(result.pixels.begin() + 80, result.pixels.begin() + 104, [](int u) { return u == 80; }));
    EXPECT_TRUE(std::all_of(result.pixels.begin() + 104, result.pixels.end(), [](int v) { return v == 200; }));
}

TEST_F(ExactScale, TheRightEdgeOfAnOddWidthKeepsItsColour) {
    const Conversion job = same_size(AV_PIX_FMT_BGRA, AV_PIX_FMT_YUV420P, 51, 2, SWS_BICUBIC);
    const Converted result = converted(job, Bytes(std::size_t{51} * 2 * 4, 0xFF), Place::end, 0);
    ASSERT_EQ(result.rows, 2);
    EXPECT_EQ(Bytes(result.pixels.begin() + 102, result.pixels.end()), Bytes(52, 128));  // white has no colour
}

// libswscale makes the alpha up in a copy of its own, and averages the last column with whatever lies behind that.
TEST_F(ExactScale, TheRightEdgeKeepsItsColourWhereAlphaIsMadeUp) {
    Bytes red;
    for (int pixel = 0; pixel < 51 * 2; ++pixel)
        red.insert(red.end(), {0, 0, 255, 0});
    const FramePtr source = extended_copy(picture_in_block(red.data(), AV_PIX_FMT_BGR0, 51, 2, 1), 51, 2);
    ASSERT_GE(picture_in_frame(*source).readable_behind, 64);
    Bytes target(packed_size(AV_PIX_FMT_YUVA420P, 51, 2));
    FramePtr scratch;
    ASSERT_EQ(scale_exactly(picture_in_frame(*source), picture_in_block(target.data(), AV_PIX_FMT_YUVA420P, 51, 2, 1),
                            SWS_BICUBIC, scratch),
              2);
    const uint8_t *u = &target[102], *v = u + 26;
    EXPECT_EQ(Bytes(u, u + 26), Bytes(26, u[0]));
    EXPECT_EQ(Bytes(v, v + 26), Bytes(26, v[0]));
    EXPECT_EQ(Bytes(v + 26, v + 26 + 102), Bytes(102, 0xFF));
}

TEST_F(ExactScale, SameFormatAndSizeIsACopy) {
    for (const AVPixelFormat format : software_formats(sws_isSupportedOutput)) {
        if (sws_isSupportedInput(format) == 0)
            continue;
        const Conversion job = same_size(format, format, 26, 6);
        const Bytes pixels(packed_size(format, 26, 6), 0xFF);
        const Converted result = converted(job, pixels, Place::end, 0);
        ASSERT_EQ(result.rows, 6) << job;
        EXPECT_EQ(result.pixels, pixels) << job;
    }
}

TEST_F(ExactScale, TwoSamplesWideSurvivesFastBilinear) {
    for (const AVPixelFormat target : software_formats(sws_isSupportedOutput))
        for (int width = 1; width <= 9; ++width)
            for (const int source_width : {width, 256}) {
                const Conversion job{AV_PIX_FMT_YUVA444P10BE, target, source_width, 4, width, 4};
                EXPECT_EQ(converted(job, random_pixels(job, kSeed), Place::end, 0).rows, 4) << job;
            }
}

// Three bytes a pixel are written by groups of sixteen, which are no whole vectors.
TEST_F(ExactScale, PackedRgbStaysInsideAlignedLinesAndFillsThem) {
    for (const AVPixelFormat source : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUVA420P})
        for (const AVPixelFormat target : {AV_PIX_FMT_RGB24, AV_PIX_FMT_BGR24})
            for (const int width : {20, 34, 42, 104, 1362})
                for (const int alignment : {32, 64, 128}) {
                    Conversion job = same_size(source, target, width, 4);
                    job.alignment = alignment;
                    expect_exact(job);
                }
}

// Colours of RGB are averaged over two columns, of which the second may lie behind the edge.
TEST_F(ExactScale, WhatLiesBehindADecodedPictureIsNotSeen) {
    for (const AVPixelFormat source : {AV_PIX_FMT_RGB24, AV_PIX_FMT_BGRA, AV_PIX_FMT_GBRP, AV_PIX_FMT_RGB48LE,
                                       AV_PIX_FMT_X2RGB10LE, AV_PIX_FMT_XYZ12LE, AV_PIX_FMT_BAYER_RGGB8})
        for (const AVPixelFormat target : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_BGRA, AV_PIX_FMT_YUV444P})
            for (const Place decoded : {Place::frame, Place::bottom_up_frame, Place::before_padding})
                for (const int width : {50, 51}) {
                    Conversion job = same_size(source, target, width, 4);
                    job.decoded = decoded;
                    expect_exact(job);
                    job.source_width = 101;
                    expect_exact(job);
                }
}

TEST_F(ExactScale, AnAlignedTargetIsWrittenInPlace) {
    const Bytes pixels(packed_size(AV_PIX_FMT_YUV420P, 1920, 1080));
    Bytes memory(packed_size(AV_PIX_FMT_BGRA, 1920, 1080) + 64);
    uint8_t* target = memory.data() + (64 - reinterpret_cast<uintptr_t>(memory.data()) % 64) % 64 + 16;
    memory.resize(memory.capacity());
    FramePtr scratch;
    EXPECT_EQ(scale_exactly(picture_in_block(pixels.data(), AV_PIX_FMT_YUV420P, 1920, 1080, 1),
                            picture_in_block(target, AV_PIX_FMT_BGRA, 1920, 1080, 1), SWS_FAST_BILINEAR, scratch),
              1080);
    EXPECT_EQ(scratch, nullptr);
}

TEST_F(ExactScale, TheScratchPictureIsKept) {
    const Bytes pixels(packed_size(AV_PIX_FMT_YUV420P, 854, 8));
    Bytes memory(packed_size(AV_PIX_FMT_BGRA, 854, 8));
    const Picture source = picture_in_block(pixels.data(), AV_PIX_FMT_YUV420P, 854, 8, 1);
    const Picture target = picture_in_block(memory.data(), AV_PIX_FMT_BGRA, 854, 8, 1);
    FramePtr scratch;
    ASSERT_EQ(scale_exactly(source, target, SWS_FAST_BILINEAR, scratch), 8);
    ASSERT_NE(scratch, nullptr);
    const uint8_t* kept = scratch->data[0];
    ASSERT_EQ(scale_exactly(source, target, SWS_FAST_BILINEAR, scratch), 8);
    EXPECT_EQ(scratch->data[0], kept);
}

TEST_F(ExactScale, UnusableFlagsGiveNothing) {
    Bytes untouched(64);
    fill_memory(untouched.data(), untouched.size(), 0x55);
    for (const int flags : {-1, SWS_BILINEAR | SWS_BICUBIC}) {
        const Converted result =
            converted(same_size(AV_PIX_FMT_BGRA, AV_PIX_FMT_BGRA, 4, 4, flags), Bytes(64, 1), Place::end, 0x55);
        EXPECT_EQ(result.rows, 0) << flags;
        EXPECT_EQ(result.pixels, untouched) << flags;
    }
}

}  // namespace
