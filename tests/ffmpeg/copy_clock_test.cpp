// The times that copied packets get, held against what the ffmpeg program gives the packets of the streams it copies.
#include "ffmpeg/copy_clock.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ffmpeg/owners.h"

namespace qmio::test {
namespace {

constexpr int64_t kNone = AV_NOPTS_VALUE;

struct Times {
    int64_t pts, dts;
    bool operator==(const Times&) const = default;
};

void PrintTo(const Times& times, std::ostream* out) {
    *out << times.pts << '|' << times.dts;
}

// A picture stream of 25 a second on one clock, copied onto another.
class CopiedTimes : public testing::Test {
  protected:
    void SetUp() override { set_up("mp4", {1, 90000}, {1, 90000}); }

    void set_up(const char* container, AVRational from, AVRational to) {
        context_.reset(avformat_alloc_context());
        format_ = av_guess_format(container, nullptr, nullptr);
        source_ = avformat_new_stream(context_.get(), nullptr);
        target_ = avformat_new_stream(context_.get(), nullptr);
        source_->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
        source_->avg_frame_rate = {25, 1};
        source_->time_base = from;
        target_->time_base = to;
    }

    Times stamp(Times times, int64_t duration = 3600) {
        ffmpeg::PacketPtr packet(av_packet_alloc());
        packet->pts = times.pts;
        packet->dts = times.dts;
        packet->duration = duration;
        packet->size = size_;
        clock_.stamp(*packet, {*source_, *target_, *format_}, shift_);
        return {packet->pts, packet->dts};
    }

    std::vector<Times> stamp_all(const std::vector<Times>& all, int64_t duration = 3600) {
        std::vector<Times> stamped;
        stamped.reserve(all.size());
        for (const Times& times : all)
            stamped.push_back(stamp(times, duration));
        return stamped;
    }

    using List = std::vector<Times>;

    ffmpeg::FormatContextPtr context_;
    const AVOutputFormat* format_ = nullptr;
    AVStream* source_ = nullptr;
    AVStream* target_ = nullptr;
    ffmpeg::CopyClock clock_;
    ffmpeg::CopyClock::Shift shift_ = 0;
    int size_ = 0;
};

TEST_F(CopiedTimes, ThatAreInOrderStay) {
    const List times = {{7200, 0}, {18000, 3600}, {10800, 7200}, {14400, 10800}, {90000000, 80000000}};
    EXPECT_EQ(stamp_all(times), times);
}

TEST_F(CopiedTimes, AreThoseOfTheTargetsClock) {
    set_up("matroska", {1, 90000}, {1, 1000});
    EXPECT_EQ(stamp_all({{7200, 3600}, {3003 + 7200, 3003 + 3600}}), (List{{80, 40}, {113, 73}}));
}

TEST_F(CopiedTimes, LackingDtsFollowTheLengthOfThePacketBefore) {
    EXPECT_EQ(stamp_all({{1000, 1000}, {4600, kNone}, {8200, kNone}}),
              (List{{1000, 1000}, {4600, 4600}, {8200, 8200}}));
}

TEST_F(CopiedTimes, LackingDtsAndLengthFollowTheFrameRate) {
    EXPECT_EQ(stamp_all({{1000, 1000}, {9000, kNone}, {9000, kNone}}, 0),
              (List{{1000, 1000}, {9000, 4600}, {9000, 8200}}));
}

TEST_F(CopiedTimes, LackingTheFirstDtsBeginAsFarBeforeThePtsAsTheCodecReorders) {
    source_->codecpar->video_delay = 2;
    EXPECT_EQ(stamp_all({{0, kNone}, {10800, kNone}}), (List{{0, -7200}, {10800, -3600}}));
}

TEST_F(CopiedTimes, LackingAltogetherBeginAtZero) {
    source_->codecpar->video_delay = 2;
    EXPECT_EQ(stamp_all({{kNone, kNone}, {kNone, kNone}}), (List{{0, 0}, {3600, 3600}}));
}

TEST_F(CopiedTimes, LackingPtsAreTheDts) {
    EXPECT_EQ(stamp_all({{kNone, 500}, {kNone, 4100}}), (List{{500, 500}, {4100, 4100}}));
}

TEST_F(CopiedTimes, ThatStandStillOrGoBackALittleMoveUpToTheNextThatTheContainerTakes) {
    EXPECT_EQ(stamp_all({{7200, 3600}, {9000, 3600}, {9000, 3000}, {3601, 3000}, {7200, 7200}}),
              (List{{7200, 3600}, {9000, 3601}, {9000, 3602}, {3603, 3603}, {7200, 7200}}));
}

TEST_F(CopiedTimes, MayStandStillWhereTheContainerLetsThem) {
    set_up("matroska", {1, 1000}, {1, 1000});
    EXPECT_EQ(stamp_all({{40, 40}, {40, 40}, {39, 39}}, 40), (List{{40, 40}, {40, 40}, {40, 40}}));
}

TEST_F(CopiedTimes, ShownBeforeTheyAreDecodedMeetInTheMiddle) {
    EXPECT_EQ(stamp_all({{3600, 3600}, {5000, 7200}, {9000, 30000}}), (List{{3600, 3600}, {5000, 5000}, {9000, 9000}}));
}

TEST_F(CopiedTimes, BehindAJumpBackGoOnWhereTheStreamStood) {
    const int64_t hour = int64_t{3600} * 90000;
    EXPECT_EQ(
        stamp_all({{hour, hour}, {hour + 3600, hour + 3600}, {0, 0}, {7200, 3600}}),
        (List{{hour, hour}, {hour + 3600, hour + 3600}, {hour + 7200, hour + 7200}, {hour + 14400, hour + 10800}}));
}

TEST_F(CopiedTimes, OfOnePacketThatIsOutOfLineDoNotMoveThoseBehindIt) {
    const int64_t hour = int64_t{3600} * 90000;
    EXPECT_EQ(stamp_all({{hour, hour}, {0, 0}, {hour + 7200, hour + 7200}}),
              (List{{hour, hour}, {hour + 3600, hour + 3600}, {hour + 7200, hour + 7200}}));
}

TEST_F(CopiedTimes, OfTwoStreamsJumpTogether) {
    ffmpeg::CopyClock other;
    ffmpeg::PacketPtr packet(av_packet_alloc());
    const auto stamp_other = [&](int64_t dts) {
        packet->pts = packet->dts = dts;
        other.stamp(*packet, {*source_, *target_, *format_}, shift_);
        return packet->dts;
    };
    EXPECT_EQ(stamp_other(900000 - 2000), 898000);
    EXPECT_EQ(stamp({900000, 900000}), (Times{900000, 900000}));
    EXPECT_EQ(stamp({0, 0}), (Times{903600, 903600}));
    EXPECT_EQ(stamp_other(900000), 900000) << "from before the jump";
    EXPECT_EQ(stamp_other(100), 903700) << "from behind it, as far from the other stream as in the source";
}

TEST_F(CopiedTimes, OfSoundRoundedByACoarseClockAreEvenAgain) {
    set_up("mp4", {1, 1000}, {1, 48000});
    source_->codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
    source_->codecpar->codec_id = AV_CODEC_ID_AAC;
    source_->codecpar->sample_rate = 48000;
    source_->codecpar->frame_size = 1024;
    size_ = 200;
    EXPECT_EQ(stamp_all({{0, 0}, {21, 21}, {43, 43}, {64, 64}}, 21),
              (List{{0, 0}, {1024, 1024}, {2048, 2048}, {3072, 3072}}));
}

TEST_F(CopiedTimes, OfDamagedFilesOverflowNothing) {
    const int64_t most = INT64_MAX, least = INT64_MIN + 1;
    for (const AVRational tick :
         {AVRational{1, 90000}, AVRational{1, 1}, AVRational{1000000, 1}, AVRational{1, INT_MAX}}) {
        set_up("mp4", tick, {1, 12800});
        stamp_all({{most, most}, {least, least}, {0, 0}, {kNone, kNone}, {most, kNone}, {least, most}, {most, least}},
                  most);
        stamp_all({{0, 0}, {most, most}, {kNone, least}, {kNone, kNone}}, 0);
    }
}

TEST_F(CopiedTimes, AreLeftWhereTheContainerHasNone) {
    set_up("h264", {1, 90000}, {1, 90000});
    EXPECT_EQ(stamp_all({{kNone, 500}, {0, 400}}), (List{{kNone, 500}, {0, 400}}));
}

}  // namespace
}  // namespace qmio::test
