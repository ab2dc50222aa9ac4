// Frame numbers and timestamps, against values worked out by hand.
#include "core/handle/frame_numbers.h"

#include <gtest/gtest.h>

#include "core/handle/media_handle.h"
#include "support/media.h"

namespace qmio {
namespace {

class FrameNumbers : public testing::Test {
  protected:
    void set(AVRational time_base, AVRational rate, int64_t start) {
        stream().time_base = time_base;
        stream().start_time = start;
        stream().avg_frame_rate = stream().r_frame_rate = rate;
        media_->video.frame_rate = rate;
    }
    AVStream& stream() { return *media_->video.stream; }
    MediaHandle& handle() { return *media_; }

    test::Media media_ = test::open_media(test::media_path("plain.mp4"));
};

TEST_F(FrameNumbers, EachDivisionOnTheWayToATimestampTruncates) {
    set({1, 90000}, {30000, 1001}, 0);
    EXPECT_EQ(frame_to_timestamp(handle().container, stream(), 1), 3003);
    set({1, 1000}, {30000, 1001}, 0);
    EXPECT_EQ(frame_to_timestamp(handle().container, stream(), 1), 33);
    EXPECT_EQ(frame_to_timestamp(handle().container, stream(), 2), 66);
    EXPECT_EQ(frame_to_timestamp(handle().container, stream(), 3), 100);
}

TEST_F(FrameNumbers, TheStartTimeIsAddedWhereItIsKnown) {
    set({1, 25}, {25, 1}, 200);
    EXPECT_EQ(frame_to_timestamp(handle().container, stream(), 7), 207);
    EXPECT_EQ(timestamp_to_frame(stream(), 207), 7);
    set({1, 25}, {25, 1}, AV_NOPTS_VALUE);
    EXPECT_EQ(frame_to_timestamp(handle().container, stream(), 7), 7);
}

TEST_F(FrameNumbers, TheWayBackGoesByTheRealFrameRateAndTruncates) {
    set({1, 1000}, {25, 1}, 0);
    stream().r_frame_rate = {50, 1};
    EXPECT_EQ(timestamp_to_frame(stream(), 79), 3);
    EXPECT_EQ(timestamp_to_frame(stream(), 80), 4);
}

TEST_F(FrameNumbers, APicturesNumberIsRoundedWithHalvesAwayFromZero) {
    set({1, 50}, {25, 1}, 0);
    EXPECT_EQ(frame_number_at(handle().video, 3), 2);
    EXPECT_EQ(frame_number_at(handle().video, -1), -1);
    set({1, 1000}, {25, 1}, 0);
    EXPECT_EQ(frame_number_at(handle().video, 59), 1);
    EXPECT_EQ(frame_number_at(handle().video, 61), 2);
}

TEST_F(FrameNumbers, TheFirstKnownTimestampCounts) {
    set({1, 25}, {25, 1}, 0);
    AVFrame& frame = *handle().reading.pFrame;
    const ffmpeg::PacketPtr packet(av_packet_alloc());
    packet->dts = 4;
    packet->pts = 3;
    frame.pkt_dts = 2;
    frame.pts = 1;
    EXPECT_EQ(frame_number_of(handle().video, frame, packet.get()), 1);
    frame.pts = AV_NOPTS_VALUE;
    EXPECT_EQ(frame_number_of(handle().video, frame, packet.get()), 2);
    frame.pkt_dts = AV_NOPTS_VALUE;
    EXPECT_EQ(frame_number_of(handle().video, frame, packet.get()), 3);
    packet->pts = AV_NOPTS_VALUE;
    EXPECT_EQ(frame_number_of(handle().video, frame, packet.get()), 4);
    packet->dts = AV_NOPTS_VALUE;
    handle().video.want_frame = 9;
    EXPECT_EQ(frame_number_of(handle().video, frame, packet.get()), 9);
}

TEST_F(FrameNumbers, ValuesOfBrokenFilesNeitherDivideByZeroNorOverflow) {
    set({1, 2147483647}, {1, 2147483647}, INT64_MAX - 1);
    EXPECT_EQ(frame_to_timestamp(handle().container, stream(), INT32_MAX), INT64_MAX);
    set({0, 0}, {0, 0}, 0);
    EXPECT_EQ(frame_to_timestamp(handle().container, stream(), 5), 0);
    EXPECT_EQ(timestamp_to_frame(stream(), 5), 0);
    EXPECT_EQ(frame_number_at(handle().video, 5), kNoFrame);
    EXPECT_EQ(scale_time(5, {1, 0}, 1000), 0);
}

}  // namespace
}  // namespace qmio
