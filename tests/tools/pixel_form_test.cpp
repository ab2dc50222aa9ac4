// Which pixel format of an encoder a picture comes nearest to.
#include <gtest/gtest.h>

#include "picture_times.h"
#include "pixel_form.h"
#include "time_code.h"

namespace host {
namespace {

using Names = std::vector<std::string>;

const Names kX264 = {"yuv420p", "yuvj420p",    "yuv422p",     "yuvj422p",    "yuv444p", "yuvj444p", "nv12",    "nv16",
                     "nv21",    "yuv420p10le", "yuv422p10le", "yuv444p10le", "nv20le",  "gray",     "gray10le"};
const Names kMjpeg = {"yuvj420p", "yuvj422p", "yuvj444p", "yuv420p", "yuv422p", "yuv444p"};
const Names kProRes = {"yuv422p10le", "yuv444p10le", "yuva444p10le"};

std::string nearest(const std::string& source, const Names& formats, bool is_full = false) {
    return nearest_pixel_format(source, is_full, formats);
}

TEST(NearestPixelFormat, IsTheSameWhereThereIsIt) {
    for (const std::string& name : kX264)
        EXPECT_EQ(nearest(name, kX264), name);
}

TEST(NearestPixelFormat, LosesBitsAndChromaLast) {
    EXPECT_EQ(nearest("yuv422p12le", kX264), "yuv422p10le");
    EXPECT_EQ(nearest("yuyv422", kX264), "yuv422p");
    EXPECT_EQ(nearest("p010le", kX264), "yuv420p10le");
    EXPECT_EQ(nearest("yuv411p", kX264), "yuv422p");
    EXPECT_EQ(nearest("yuv440p", kX264), "yuv444p");
    EXPECT_EQ(nearest("rgb24", kX264), "yuv444p");
    EXPECT_EQ(nearest("gray16le", kX264), "gray10le");
    EXPECT_EQ(nearest("yuv420p", kProRes), "yuv422p10le");
    EXPECT_EQ(nearest("yuv444p", kProRes), "yuv444p10le");
    EXPECT_EQ(nearest("rgba", kProRes), "yuva444p10le");
    EXPECT_EQ(nearest("yuv422p10le", {"yuv420p", "yuv422p"}), "yuv422p");
    EXPECT_EQ(nearest("rgb48be", {"bgr0", "bgra", "gbrp16le", "yuv444p16le"}), "gbrp16le");
    EXPECT_EQ(nearest("rgb24", {"yuv444p", "bgra", "bgr0"}), "bgr0") << "no transparency that there is not";
}

TEST(NearestPixelFormat, KeepsTheRangeThatTheEncoderTakes) {
    EXPECT_EQ(nearest("yuv420p", kMjpeg), "yuvj420p") << "it takes the others only when it is told to be lenient";
    EXPECT_EQ(nearest("yuv422p10le", kMjpeg), "yuvj422p");
    EXPECT_EQ(nearest("yuv420p", kMjpeg, true), "yuv420p") << "it is full already";
    EXPECT_EQ(nearest("yuvj444p", kX264), "yuvj444p");
}

TEST(NearestPixelFormat, IsTheFirstWhereNothingIsKnown) {
    EXPECT_EQ(nearest("vaapi", kX264), "yuv420p");
    EXPECT_EQ(nearest("yuv420p", {"vaapi"}), "vaapi");
    EXPECT_EQ(nearest("", kMjpeg), "yuvj420p");
    EXPECT_EQ(nearest("yuv420p", {}), "");
}

TEST(PictureClock, OnlyGoesForward) {
    PictureClock clock(0.04, 100);
    EXPECT_DOUBLE_EQ(clock.take(3.0), 3.0);
    EXPECT_DOUBLE_EQ(clock.take(3.04), 3.04);
    EXPECT_DOUBLE_EQ(clock.take({}), 3.08) << "not told";
    EXPECT_DOUBLE_EQ(clock.take(3.0), 3.12) << "a slip";
    EXPECT_DOUBLE_EQ(clock.take(5.0), 5.0) << "shown for long";
    EXPECT_DOUBLE_EQ(clock.take(0.0), 5.04) << "set anew";
    EXPECT_DOUBLE_EQ(clock.take(0.04), 5.08);
    EXPECT_DOUBLE_EQ(clock.take(95000), 5.12) << "behind the end of the file";
    EXPECT_NEAR(clock.take(95000.04), 5.16, 1e-6);
}

TEST(RateMatch, WritesPicturesOfItsOwnRateOnceEach) {
    for (const double jitter : {0.0, 0.3, -0.3}) {
        RateMatch match(30000.0 / 1001, 0);
        for (int number = 1; number < 1000; ++number)
            ASSERT_EQ(match.times_until((number + (number % 2 == 0 ? jitter : 0)) * 1001 / 30000), 1) << number;
    }
}

TEST(RateMatch, TakesEverySecondOfTwiceAsMany) {
    RateMatch match(25, 0);
    for (int number = 1; number <= 100; ++number)
        EXPECT_EQ(match.times_until(number / 50.0), number % 2) << number;
    EXPECT_EQ(match.written(), 50);
}

TEST(RateMatch, WritesTheFirstBeforeItIsShown) {
    RateMatch match(25, 10);
    EXPECT_EQ(match.times_until(0.04), 11);
    EXPECT_EQ(match.times_until(0.2), 4);
}

TEST(TimeCodeAt, AnotherRateIsTheSameTime) {
    EXPECT_EQ(time_code_at("10:00:00:05", 25, 25), "10:00:00:05");
    EXPECT_EQ(time_code_at("10:00:00:40", 50, 25), "10:00:00:20");
    EXPECT_EQ(time_code_at("00:01:00;02", 30000.0 / 1001, 30000.0 / 1001), "00:01:00;02");
    EXPECT_EQ(time_code_at("00:01:00;02", 30000.0 / 1001, 25), "00:01:00:01");
    EXPECT_EQ(time_code_at("nonsense", 25, 25), "");
}

}  // namespace
}  // namespace host
