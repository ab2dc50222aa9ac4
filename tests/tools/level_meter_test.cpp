// Levels, time axes and times as text of the command-line host.
#include "level_meter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "numbers.h"
#include "time_axis.h"

namespace host {
namespace {

TEST(LevelMeter, TellsPeakAndPowerOfASine) {
    LevelMeter meter;
    for (int index = 0; index < 48000; ++index)
        meter.take(static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 440 * index / 48000)));
    EXPECT_NEAR(decibels(meter.whole().peak()), -6.02, 0.01);
    EXPECT_NEAR(decibels(meter.whole().rms()), -9.03, 0.01);
}

TEST(LevelMeter, KnowsWhereALongSoundIsLoud) {
    LevelMeter meter;
    constexpr int kSamples = 1 << 24;  // more than it keeps apart
    for (int index = 0; index < kSamples; ++index)
        meter.take(index < kSamples / 4 ? 0.25F : -0.75F);
    EXPECT_EQ(meter.whole().samples, kSamples);
    EXPECT_EQ(meter.part(0, 4).peak(), 0.25);
    EXPECT_EQ(meter.part(1, 4).peak(), 0.75);
    EXPECT_NEAR(meter.part(0, 4).rms(), 0.25, 1e-6);
    EXPECT_NEAR(meter.whole().rms(), std::sqrt(0.0625 / 4 + 0.5625 * 3 / 4), 1e-6);
}

TEST(LevelMeter, HasALevelForNoSoundAndForWhatIsNoNumber) {
    LevelMeter meter;
    EXPECT_EQ(meter.whole().peak(), 0);
    EXPECT_EQ(meter.part(5, 10).rms(), 0);
    meter.take(std::numeric_limits<float>::quiet_NaN());
    meter.take(std::numeric_limits<float>::infinity());
    EXPECT_EQ(meter.whole().peak(), 0);
    EXPECT_EQ(meter.whole().rms(), 0);
}

TEST(TimeAxis, MarksStandAtRoundTimes) {
    const auto texts = [](double seconds, int most) {
        std::string text;
        for (const TimeMark& mark : time_marks(seconds, most))
            text += mark.text + " ";
        return text;
    };
    EXPECT_EQ(texts(5, 14), "0.0 0.5 1.0 1.5 2.0 2.5 3.0 3.5 4.0 4.5 5.0 ");
    EXPECT_EQ(texts(5, 6), "0 1 2 3 4 5 ");
    EXPECT_EQ(texts(90, 4), "0 30 1:00 1:30 ");
    EXPECT_EQ(texts(7200, 3), "0 1:00:00 2:00:00 ");
    EXPECT_EQ(texts(0.05, 6), "0.00 0.01 0.02 0.03 0.04 0.05 ");
    EXPECT_EQ(texts(0, 5), "0.000 ");
}

TEST(TimeAxis, HasNeverTooManyMarks) {
    for (int step = 0; step < 80; ++step)
        for (int most = 2; most < 30; ++most) {
            const double seconds = 0.001 * std::pow(1.37, step);
            const std::vector<TimeMark> marks = time_marks(seconds, most);
            ASSERT_LE(static_cast<int>(marks.size()), most) << seconds;
            EXPECT_LE(marks.back().seconds, seconds * (1 + 1e-9));
        }
    EXPECT_TRUE(time_marks(-1, 5).empty());
    EXPECT_TRUE(time_marks(std::nan(""), 5).empty());
}

TEST(NumberText, TimesAreReadAndWritten) {
    EXPECT_EQ(time_text(5040000), "0:00:05.040");
    EXPECT_EQ(time_text(3723999600), "1:02:04.000");
    EXPECT_EQ(time_text(-1500000), "-0:00:01.500");
    EXPECT_EQ(parse_time("12.5"), 12.5);
    EXPECT_EQ(parse_time("1:05"), 65);
    EXPECT_EQ(parse_time("1:02:03.25"), 3723.25);
    for (const char* text :
         {"", ":", "1:", ":1", "1:60", "-1", "1e3", "1.2.3", "1:2:3:4", "1.5:10", "99999999999999999999"})
        EXPECT_FALSE(parse_time(text)) << text;
}

TEST(NumberText, RatesAndRatiosAreShort) {
    EXPECT_EQ(rate_text(25, 1), "25");
    EXPECT_EQ(rate_text(30000, 1001), "29.97 (30000/1001)");
    EXPECT_EQ(rate_text(0, 0), "not told");
    EXPECT_EQ(ratio_text(720 * 16, 576 * 15), "4:3");
    EXPECT_EQ(bit_rate_text(1234567), "1235 kbit/s");
    EXPECT_EQ(bit_rate_text(999), "999 bit/s");
    EXPECT_EQ(bit_rate_text(0), "not told");
}

}  // namespace
}  // namespace host
