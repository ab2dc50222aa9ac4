// Time codes of frame numbers, over a whole day and at every rate in use.
#include <gtest/gtest.h>
#include <qmio.h>

#include <ostream>
#include <string>

#include "support/made_file.h"
#include "support/media.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

struct Rate {
    int num;
    int den;
};

void PrintTo(const Rate& rate, std::ostream* out) {
    *out << rate.num << "/" << rate.den;
}

std::string text_of(const Rate& rate) {
    return std::to_string(rate.num) + "/" + std::to_string(rate.den);
}

constexpr int packed(int hours, int minutes, int seconds, int frames) {
    return static_cast<int>(static_cast<unsigned>(hours) << 24 | static_cast<unsigned>(minutes) << 16 |
                            static_cast<unsigned>(seconds) << 8 | static_cast<unsigned>(frames));
}

// A clock that goes from frame to frame. A second begins with the first frame that is not shown before it; its frames
// count from the last one that begins at or before the second.
class Clock {
  public:
    explicit Clock(Rate rate) : rate_(rate) {}

    int next() {
        const int code = packed(hours_, minutes_, seconds_, static_cast<int>(frame_ - base_));
        ++frame_;
        if (frame_ * rate_.den >= (total_seconds_ + 1) * rate_.num)
            begin_second();
        return code;
    }
    int64_t frame() const { return frame_; }
    bool day_is_over() const { return hours_ == 24; }

  private:
    void begin_second() {
        ++total_seconds_;
        while ((base_ + 1) * rate_.den <= total_seconds_ * rate_.num)
            ++base_;
        if (++seconds_ == 60)
            seconds_ = 0, ++minutes_;
        if (minutes_ == 60)
            minutes_ = 0, ++hours_;
    }

    Rate rate_;
    int64_t frame_ = 0, base_ = 0, total_seconds_ = 0;
    int hours_ = 0, minutes_ = 0, seconds_ = 0;
};

class TimeCode : public testing::TestWithParam<Rate> {
  protected:
    std::string options() const { return video_options("avi", "ffv1", "r=" + text_of(GetParam())); }
    TempDir folder_;
};

TEST_P(TimeCode, EveryFrameOfADayHasItsOwnInAReader) {
    ASSERT_TRUE(make_file(folder_ / "day.avi", options(), 3));
    const Media media = open_media(folder_ / "day.avi");
    ASSERT_NE(media, nullptr);
    qmio_time_param record{};
    ASSERT_EQ(qmio_get_time_param(media.get(), "video", &record), 1);
    ASSERT_EQ(record.frame_rate_num, GetParam().num);
    ASSERT_EQ(record.frame_rate_den, GetParam().den);
    Clock clock(GetParam());
    while (!clock.day_is_over()) {
        const int frame = static_cast<int>(clock.frame());
        const int expected = clock.next();
        ASSERT_EQ(qmio_get_smpte(media.get(), frame), expected) << frame;
    }
    EXPECT_GE(clock.frame() * GetParam().den, int64_t{86400} * GetParam().num);
}

TEST_P(TimeCode, WriterHasTheSameAsItsReader) {
    const Media writer = create_file(folder_ / "writer.avi", options());
    ASSERT_NE(writer, nullptr);
    Clock clock(GetParam());
    for (int frame = 0; frame < 200000; ++frame) {
        const int expected = clock.next();
        ASSERT_EQ(qmio_get_smpte(writer.get(), frame), expected) << frame;
    }
}

INSTANTIATE_TEST_SUITE_P(Rates, TimeCode,
                         testing::Values(Rate{24, 1}, Rate{25, 1}, Rate{30000, 1001}, Rate{50, 1}, Rate{60000, 1001}),
                         [](const auto& rate) {
                             return "Rate" + std::to_string(rate.param.num) + "By" + std::to_string(rate.param.den);
                         });

TEST(TimeCodes, OneHourAndTwoSecondsAt25) {
    const Media media = open_media(media_path("plain.mp4"));
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(qmio_get_smpte(media.get(), 90061), packed(1, 0, 2, 11));
    EXPECT_EQ(qmio_get_smpte(media.get(), 0), 0);
    EXPECT_EQ(qmio_get_smpte(media.get(), 24), packed(0, 0, 0, 24));
    EXPECT_EQ(qmio_get_smpte(media.get(), 25), packed(0, 0, 1, 0));
    EXPECT_EQ(qmio_get_smpte(media.get(), 25 * 3600 * 23), packed(23, 0, 0, 0));
}

// At 29.97 a second of the clock begins within a frame: that one has the number 0 but still shows the second before.
TEST(TimeCodes, SecondsAreTheClocksAt30000By1001) {
    const Media media = open_media(media_path("rate_30000_1001.mp4"));
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(qmio_get_smpte(media.get(), 29), packed(0, 0, 0, 29));
    EXPECT_EQ(qmio_get_smpte(media.get(), 30), packed(0, 0, 1, 1));
    EXPECT_EQ(qmio_get_smpte(media.get(), 107892), packed(0, 59, 59, 30));
    EXPECT_EQ(qmio_get_smpte(media.get(), 107893), packed(1, 0, 0, 1));
}

TEST(TimeCodes, HoursGoOnBehindADay) {
    const Media media = open_media(media_path("plain.mp4"));
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(qmio_get_smpte(media.get(), 25 * 3600 * 100), packed(100, 0, 0, 0));
    EXPECT_EQ(static_cast<uint32_t>(qmio_get_smpte(media.get(), INT32_MAX)) & 0xFFU, uint32_t{INT32_MAX % 25});
}

TEST(TimeCodes, ThereAreNoneWithoutVideo) {
    const Media media = open_media(media_path("tone.wav"));
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(qmio_get_smpte(media.get(), 0), -1);
    EXPECT_EQ(qmio_get_smpte(media.get(), 100), -1);
}

}  // namespace
}  // namespace qmio::test
