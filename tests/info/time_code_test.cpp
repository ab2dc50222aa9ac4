// Time codes against a clock that goes from frame to frame as the standard describes it, and against libavutil.
#include "info/time_code.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

#include "support/seed.h"

namespace qmio::info {
namespace {

struct Counting {
    AVRational rate;
    int fps;
    bool drop;
};

void PrintTo(const Counting& counting, std::ostream* out) {
    *out << counting.rate.num << "/" << counting.rate.den << (counting.drop ? " drop" : "");
}

// The digits of a time code, moved on frame by frame.
class Odometer {
  public:
    explicit Odometer(const Counting& counting) : counting_(counting) {}

    void next() {
        if (++frame_ < counting_.fps)
            return;
        frame_ = 0;
        if (++second_ == 60)
            second_ = 0, ++minute_;
        if (minute_ == 60)
            minute_ = 0, hour_ = (hour_ + 1) % 24;
        if (counting_.drop && second_ == 0 && minute_ % 10 != 0)
            frame_ = counting_.fps / 30 * 2;
    }
    bool at_midnight() const { return hour_ + minute_ + second_ + frame_ == 0; }
    // Something other than the frames moved, or is about to.
    bool at_a_border() const { return (second_ == 0 && frame_ < 12) || (second_ == 59 && frame_ > counting_.fps - 4); }
    std::string text() const {
        char text[64];
        std::snprintf(text, sizeof text, counting_.fps > 100 ? "%02d:%02d:%02d%c%03d" : "%02d:%02d:%02d%c%02d", hour_,
                      minute_, second_, counting_.drop ? ';' : ':', frame_);
        return text;
    }

  private:
    Counting counting_;
    int hour_ = 0, minute_ = 0, second_ = 0, frame_ = 0;
};

class TimeCodeSweep : public testing::TestWithParam<Counting> {
  protected:
    TimeCodeStart start(const char* text = "00:00:00:00") const {
        std::string marked = text;
        if (GetParam().drop)
            marked[8] = ';';
        return parse_time_code(marked, GetParam().rate).value();
    }
};

TEST_P(TimeCodeSweep, FramesOfADayAreThoseOfTheClock) {
    // All frames around the minutes, and of the others one of so many.
    const unsigned one_of = std::getenv("QMIO_SWEEP") != nullptr ? 7 : 997;
    test::Dice dice(test::printed_seed(1));
    const TimeCodeStart zero = start();
    Odometer clock(GetParam());
    int64_t frame = 0;
    do {
        if (clock.at_a_border() || dice.number() % one_of == 0) {
            ASSERT_EQ(time_code_text(zero, frame), clock.text()) << frame;
        }
        clock.next();
        ++frame;
    } while (!clock.at_midnight());
    EXPECT_EQ(time_code_text(zero, frame), clock.text()) << "a day has 24 hours";
    EXPECT_EQ(time_code_text(zero, -1), time_code_text(zero, frame - 1));
}

TEST_P(TimeCodeSweep, AnyFrameIsThatOfLibavutil) {
    test::Dice dice(test::printed_seed(2));
    for (const char* text : {"00:00:00:00", "00:00:59:20", "09:59:59:23", "10:00:00:00", "23:59:59:22"}) {
        const TimeCodeStart from = start(text);
        AVTimecode expected{};
        std::string marked = text;
        if (GetParam().drop)
            marked[8] = ';';
        ASSERT_GE(av_timecode_init_from_string(&expected, GetParam().rate, marked.c_str(), nullptr), 0);
        expected.flags |= AV_TIMECODE_FLAG_24HOURSMAX;
        for (int draw = 0; draw < 2000; ++draw) {
            const int frame = static_cast<int>(dice.number() % 20000000);
            char buffer[AV_TIMECODE_STR_SIZE];
            ASSERT_EQ(time_code_text(from, frame), av_timecode_make_string(&expected, buffer, frame)) << text << frame;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Rates, TimeCodeSweep,
                         testing::Values(Counting{{24000, 1001}, 24, false}, Counting{{24, 1}, 24, false},
                                         Counting{{25, 1}, 25, false}, Counting{{30000, 1001}, 30, true},
                                         Counting{{30000, 1001}, 30, false}, Counting{{30, 1}, 30, false},
                                         Counting{{50, 1}, 50, false}, Counting{{60000, 1001}, 60, true},
                                         Counting{{60000, 1001}, 60, false}, Counting{{60, 1}, 60, false},
                                         Counting{{120000, 1001}, 120, true}, Counting{{120000, 1001}, 120, false}),
                         [](const auto& test) {
                             return "Rate" + std::to_string(test.param.rate.num) + "By" +
                                    std::to_string(test.param.rate.den) + (test.param.drop ? "Drop" : "");
                         });

std::string text_of(const char* text, AVRational rate, int64_t frame) {
    const std::optional<TimeCodeStart> start = parse_time_code(text, rate);
    return start ? time_code_text(*start, frame) : "none";
}

TEST(TimeCodeText, MarksOtherThanAColonMeanDropFrameWhereTheRateHasIt) {
    EXPECT_EQ(text_of("01:00:59;29", {30000, 1001}, 1), "01:01:00;02");
    EXPECT_EQ(text_of("01:00:59.29", {30000, 1001}, 1), "01:01:00;02");
    EXPECT_EQ(text_of("01;00;59;29", {30000, 1001}, 1), "01:01:00;02");
    EXPECT_EQ(text_of("01:00:59:29", {30000, 1001}, 1), "01:01:00:00");
    EXPECT_EQ(text_of("01:00:59;24", {25, 1}, 1), "01:01:00:00");
    EXPECT_EQ(text_of("01:09:59;29", {30000, 1001}, 1), "01:10:00;00");
}

TEST(TimeCodeText, WhatIsNoTimeCodeIsNone) {
    for (const char* text : {"", "01:00:00", "01:00:00:", "noon", "01:60:00:00", "01:00:60:00", "-1:00:00:00",
                             "01 00 00 00", "99999:00:00:00"})
        EXPECT_EQ(text_of(text, {25, 1}, 0), "none") << text;
    for (const AVRational rate :
         {AVRational{0, 0}, AVRational{0, 1}, AVRational{-25, 1}, AVRational{25, 0}, AVRational{1, 3}})
        EXPECT_EQ(text_of("01:00:00:00", rate, 0), "none") << rate.num << "/" << rate.den;
}

TEST(TimeCodeText, NumbersOfAnySizeStayWithinADay) {
    constexpr int64_t most = std::numeric_limits<int64_t>::max();
    constexpr int64_t least = std::numeric_limits<int64_t>::min();
    constexpr int64_t day = int64_t{25} * 86400;
    EXPECT_EQ(text_of("00:00:00:00", {25, 1}, most), text_of("00:00:00:00", {25, 1}, most % day));
    EXPECT_EQ(text_of("23:59:59:24", {25, 1}, most), text_of("23:59:59:24", {25, 1}, most % day));
    EXPECT_EQ(text_of("00:00:00:00", {25, 1}, least), text_of("00:00:00:00", {25, 1}, least % day + day));
    EXPECT_EQ(text_of("26:00:00:00", {25, 1}, 0), "02:00:00:00");
    EXPECT_LE(text_of("9999:59:59:9999", {std::numeric_limits<int>::max(), 1}, most).size(), 19U);
}

}  // namespace
}  // namespace qmio::info
