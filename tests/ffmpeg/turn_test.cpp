// Pictures turned by quarters and mirrored, sample for sample, in all formats.
#include "ffmpeg/turn.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/display.h>
}

#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "ffmpeg/conversions.h"
#include "ffmpeg/exact_scale.h"

namespace {

using namespace qmio::ffmpeg;
using namespace qmio::test;

constexpr int32_t kOne = 1 << 16;

using Matrix = std::array<int32_t, 9>;

Matrix matrix(int32_t a, int32_t b, int32_t c, int32_t d) {
    return {a, b, 0, c, d, 0, 0, 0, 1 << 30};
}

// As FFmpeg makes one: counterclockwise.
Matrix rotation(double degrees) {
    Matrix turned{};
    av_display_rotation_set(turned.data(), degrees);
    return turned;
}

const Turn kAllTurns[] = {{false, false, false}, {false, true, false}, {false, false, true}, {false, true, true},
                          {true, false, false},  {true, true, false},  {true, false, true},  {true, true, true}};

FramePtr random_frame(AVPixelFormat format, int width, int height) {
    FramePtr frame;
    EXPECT_TRUE(prepare_aligned(frame, format, width, height));
    std::mt19937 random(7);
    for (const AVBufferRef* buffer : frame->buf)
        for (std::size_t byte = 0; buffer != nullptr && byte < buffer->size; ++byte)
            buffer->data[byte] = static_cast<uint8_t>(random());
    return frame;
}

// A sample of a component; of subsampled ones by the sample's own place.
uint32_t sample(const Picture& picture, int component, int x, int y) {
    uint32_t value = 0;
    const AVPixFmtDescriptor* const format = av_pix_fmt_desc_get(picture.format);
    std::array<const uint8_t*, 4> planes{};
    std::copy(picture.data.begin(), picture.data.end(), planes.begin());
    av_read_image_line2(&value, planes.data(), picture.line_size.data(), format, x, y, component, 1, 0, 4);
    return value;
}

// Where the sample at x, y of a turned component of width x height was before.
std::pair<int, int> origin(Turn turn, int x, int y, int width, int height) {
    if (turn.mirrors_columns)
        x = width - 1 - x;
    if (turn.mirrors_rows)
        y = height - 1 - y;
    return turn.transposes ? std::pair(y, x) : std::pair(x, y);
}

testing::AssertionResult is_turned(const Picture& turned, const Picture& source, Turn turn) {
    const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(source.format);
    for (int component = 0; component < format.nb_components; ++component) {
        const bool chroma = (component == 1 || component == 2) && (format.flags & AV_PIX_FMT_FLAG_RGB) == 0;
        const int width = AV_CEIL_RSHIFT(turned.width, chroma ? format.log2_chroma_w : 0);
        const int height = AV_CEIL_RSHIFT(turned.height, chroma ? format.log2_chroma_h : 0);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const auto [from_x, from_y] = origin(turn, x, y, width, height);
                if (sample(turned, component, x, y) != sample(source, component, from_x, from_y))
                    return testing::AssertionFailure()
                           << format.name << ": component " << component << " at " << x << ", " << y;
            }
    }
    return testing::AssertionSuccess();
}

class Turns : public testing::Test {
  protected:
    Turns() { av_log_set_level(AV_LOG_QUIET); }
};

TEST_F(Turns, EveryFormatOfEverySizeSampleForSample) {
    int kept = 0;
    Turner turner;
    for (const AVPixelFormat format : software_formats(sws_isSupportedInput))
        for (const auto& [width, height] : {std::pair(7, 5), std::pair(64, 35), std::pair(1, 40)})
            for (const Turn turn : kAllTurns) {
                const FramePtr frame = random_frame(format, width, height);
                const Picture source = picture_in_frame(*frame);
                const Picture turned = turner.turn(source, turn, SWS_FAST_BILINEAR);
                ASSERT_TRUE(turned.valid()) << av_get_pix_fmt_name(format) << " of " << width << " x " << height;
                ASSERT_EQ(turned.width, turn.transposes ? height : width);
                ASSERT_EQ(turned.height, turn.transposes ? width : height);
                if (turned.format != format)
                    continue;
                ++kept;
                ASSERT_TRUE(is_turned(turned, source, turn));
            }
    EXPECT_GT(kept, 2000);
}

TEST_F(Turns, WhatSharesColoursInRowsAloneInAFormatThatDoesNotShareThem) {
    struct Case {
        AVPixelFormat from;
        AVPixelFormat to;
    };
    Turner turner;
    FramePtr scratch;
    for (const Case& each :
         {Case{AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV444P}, Case{AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUVJ444P},
          Case{AV_PIX_FMT_YUV422P10LE, AV_PIX_FMT_YUV444P16LE}, Case{AV_PIX_FMT_YUVA422P, AV_PIX_FMT_YUVA444P},
          Case{AV_PIX_FMT_UYVY422, AV_PIX_FMT_YUV444P}, Case{AV_PIX_FMT_MONOWHITE, AV_PIX_FMT_RGBA}}) {
        const FramePtr frame = random_frame(each.from, 34, 17);
        const Picture turned = turner.turn(picture_in_frame(*frame), {true, true, false}, SWS_FAST_BILINEAR);
        ASSERT_EQ(turned.format, each.to) << av_get_pix_fmt_name(each.from);
        FramePtr whole;
        ASSERT_TRUE(prepare_aligned(whole, each.to, 34, 17));
        ASSERT_EQ(scale_exactly(picture_in_frame(*frame), picture_in_frame(*whole), SWS_FAST_BILINEAR, scratch), 17);
        EXPECT_TRUE(is_turned(turned, picture_in_frame(*whole), {true, true, false}));
    }
}

TEST_F(Turns, KeepAPaletteAndWhatIsToldOfColours) {
    Turner turner;
    const FramePtr frame = random_frame(AV_PIX_FMT_PAL8, 20, 10);
    Picture source = picture_in_frame(*frame);
    source.matrix = AVCOL_SPC_BT709;
    source.range = AVCOL_RANGE_JPEG;
    const Picture turned = turner.turn(source, {true, false, true}, SWS_FAST_BILINEAR);
    ASSERT_EQ(turned.format, AV_PIX_FMT_PAL8);
    EXPECT_EQ(std::vector(turned.data[1], turned.data[1] + AVPALETTE_SIZE),
              std::vector(source.data[1], source.data[1] + AVPALETTE_SIZE));
    EXPECT_EQ(turned.matrix, AVCOL_SPC_BT709);
    EXPECT_EQ(turned.range, AVCOL_RANGE_JPEG);
}

TEST_F(Turns, AreNoneOfAPictureThatIsNone) {
    Turner turner;
    EXPECT_FALSE(turner.turn({}, {true, false, false}, SWS_POINT).valid());
}

// ---- Display matrices -----------------------------------------------------------------------------------------------

TEST(DisplayMatrix, OfOneTurnsNothing) {
    EXPECT_TRUE(turn_of_matrix(matrix(kOne, 0, 0, kOne).data()).is_none());
}

TEST(DisplayMatrix, OfAQuarterTurnMovesTheFirstPixelWhereItSays) {
    // Clockwise: what is at the left below comes first.
    EXPECT_EQ(turn_of_matrix(matrix(0, kOne, -kOne, 0).data()), (Turn{true, true, false}));
    EXPECT_EQ(turn_of_matrix(matrix(0, -kOne, kOne, 0).data()), (Turn{true, false, true}));
    EXPECT_EQ(turn_of_matrix(matrix(-kOne, 0, 0, -kOne).data()), (Turn{false, true, true}));
}

TEST(DisplayMatrix, MayMirror) {
    EXPECT_EQ(turn_of_matrix(matrix(-kOne, 0, 0, kOne).data()), (Turn{false, true, false}));
    EXPECT_EQ(turn_of_matrix(matrix(kOne, 0, 0, -kOne).data()), (Turn{false, false, true}));
    EXPECT_EQ(turn_of_matrix(matrix(0, kOne, kOne, 0).data()), (Turn{true, false, false}));
    EXPECT_EQ(turn_of_matrix(matrix(0, -kOne, -kOne, 0).data()), (Turn{true, true, true}));
}

TEST(DisplayMatrix, OfAnyAngleGivesTheNearestQuarterTurn) {
    for (int degrees = -180; degrees <= 180; ++degrees)
        if (degrees % 90 != 45 && degrees % 90 != -45) {
            EXPECT_EQ(turn_of_matrix(rotation(degrees).data()),
                      turn_of_matrix(rotation(90 * std::round(degrees / 90.0)).data()))
                << degrees;
        }
}

TEST(DisplayMatrix, OfNothingTurnsNothing) {
    EXPECT_TRUE(turn_of_matrix(Matrix{}.data()).is_none());
    EXPECT_FALSE(turn_of_matrix(matrix(INT32_MIN, 0, 0, INT32_MIN).data()).is_none());
}

}  // namespace
