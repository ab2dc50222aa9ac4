// Where the planes of a picture lie, and what may be read behind them.
#include "ffmpeg/picture.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

namespace {

using namespace qmio::ffmpeg;

uint8_t block[65536];

TEST(PictureInBlock, HasItsPlanesOneBehindTheOther) {
    const Picture picture = picture_in_block(block, AV_PIX_FMT_YUV420P, 5, 3, 1);
    EXPECT_EQ(picture.planes(), 3);
    EXPECT_EQ(picture.data[1] - block, 15);
    EXPECT_EQ(picture.data[2] - block, 21);
    EXPECT_EQ(picture.line_size[1], 3);
}

TEST(PictureInBlock, AlignsItsRows) {
    const Picture picture = picture_in_block(block, AV_PIX_FMT_YUV420P, 5, 3, 32);
    EXPECT_EQ(picture.line_size[0], 32);
    EXPECT_EQ(picture.data[1] - block, 96);
}

TEST(PictureInBlock, HoldsThePaletteBehindThePixels) {
    const Picture picture = picture_in_block(block, AV_PIX_FMT_PAL8, 16, 4, 1);
    EXPECT_EQ(picture.data[1] - block, 64);
}

TEST(PictureInBlock, IsNotThereForImpossibleLayouts) {
    EXPECT_TRUE(picture_in_block(block, AV_PIX_FMT_BGRA, 1, 1, 1).valid());
    EXPECT_FALSE(picture_in_block(nullptr, AV_PIX_FMT_BGRA, 1, 1, 1).valid());
    EXPECT_FALSE(picture_in_block(block, AV_PIX_FMT_NONE, 1, 1, 1).valid());
    EXPECT_FALSE(picture_in_block(block, AV_PIX_FMT_VAAPI, 1, 1, 1).valid());
    for (const int size : {0, -1, INT_MAX, INT_MIN}) {
        EXPECT_FALSE(picture_in_block(block, AV_PIX_FMT_BGRA, size, 1, 1).valid()) << size;
        EXPECT_FALSE(picture_in_block(block, AV_PIX_FMT_BGRA, 1, size, 1).valid()) << size;
    }
    for (const int alignment : {0, -1, 3, INT_MIN, INT_MAX})
        EXPECT_FALSE(picture_in_block(block, AV_PIX_FMT_BGRA, 1, 1, alignment).valid()) << alignment;
}

FramePtr frame(AVPixelFormat format, int width, int height) {
    FramePtr made(av_frame_alloc());
    made->format = format;
    made->width = width;
    made->height = height;
    return made;
}

TEST(PictureInFrame, CanBeReadBeyondWhereItsBufferGoesOn) {
    const FramePtr padded = frame(AV_PIX_FMT_YUV420P, 64, 64);
    ASSERT_EQ(av_frame_get_buffer(padded.get(), 64), 0);
    EXPECT_EQ(picture_in_frame(*padded).readable_behind, 64);
}

TEST(PictureInFrame, CanBeReadToTheEndOfItsBufferOnly) {
    const FramePtr exact = frame(AV_PIX_FMT_GRAY8, 10, 4);
    exact->buf[0] = av_buffer_alloc(40 + 7);
    exact->data[0] = exact->buf[0]->data;
    exact->linesize[0] = 10;
    EXPECT_EQ(picture_in_frame(*exact).readable_behind, 7);
    // Stored from the bottom up.
    exact->data[0] += 30;
    exact->linesize[0] = -10;
    EXPECT_EQ(picture_in_frame(*exact).readable_behind, 7);
}

TEST(PictureInFrame, WithoutABufferOfItsOwnIsReadNoFurther) {
    const FramePtr borrowed = frame(AV_PIX_FMT_GRAY8, 10, 4);
    borrowed->data[0] = block;
    borrowed->linesize[0] = 10;
    EXPECT_TRUE(picture_in_frame(*borrowed).valid());
    EXPECT_EQ(picture_in_frame(*borrowed).readable_behind, 0);
}

TEST(PictureInFrame, IsNotThereInAnEmptyFrame) {
    EXPECT_FALSE(picture_in_frame(*frame(AV_PIX_FMT_NONE, 0, 0)).valid());
    EXPECT_FALSE(picture_in_frame(*frame(AV_PIX_FMT_BGRA, 4, 4)).valid());
}

TEST(ExtendedCopy, RepeatsTheEdges) {
    const uint8_t pixels[] = {1, 2, 3, 4, 5, 6};
    const FramePtr copy = extended_copy(picture_in_block(pixels, AV_PIX_FMT_GRAY8, 3, 2, 1), 3, 2);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->width, 3);
    EXPECT_EQ(copy->height, 2);
    const uint8_t* row = copy->data[0];
    EXPECT_EQ(std::vector<int>(row, row + 5), (std::vector<int>{1, 2, 3, 3, 3}));
    row += 2 * copy->linesize[0];
    EXPECT_EQ(std::vector<int>(row, row + 5), (std::vector<int>{4, 5, 6, 6, 6}));
}

TEST(ExtendedCopy, KeepsThePatternOfBayerMosaics) {
    const uint8_t pixels[] = {1, 2, 3, 4};
    const FramePtr copy = extended_copy(picture_in_block(pixels, AV_PIX_FMT_BAYER_RGGB8, 2, 2, 1), 2, 2);
    ASSERT_NE(copy, nullptr);
    const uint8_t* row = copy->data[0] + 2 * copy->linesize[0];
    EXPECT_EQ(std::vector<int>(row, row + 4), (std::vector<int>{1, 2, 1, 2}));
}

}  // namespace
