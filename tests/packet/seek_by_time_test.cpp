// Positioning by time, which counts from the stream's first decoding timestamp.
#include "packet/seek_by_time.h"

#include <gtest/gtest.h>

#include "read/packets.h"
#include "support/media.h"

namespace qmio {
namespace {

int seek(MediaHandle& handle, int64_t time_us, int kind) {
    const int result = packet::seek_by_time(handle.container, handle.video, handle.tracks, time_us, kind);
    flush_video_decoder(handle.video, handle.reading);
    return result;
}

// Seconds between the stream's first packet and the video packet that comes after seeking.
double landing(const std::string& name, int64_t time_us, int kind) {
    const test::Media media = test::open_media(test::media_path(name));
    read::Source source(*media);
    read::next_video_packet(source);
    const int64_t first = media->reading.packet->dts;
    read::release_frame(source);
    EXPECT_GE(seek(*media, time_us, kind), 0);
    EXPECT_TRUE(read::next_video_packet(source));
    EXPECT_NE(media->reading.packet->flags & AV_PKT_FLAG_KEY, 0);
    const int64_t offset = media->reading.packet->dts - first;
    read::release_frame(source);
    return static_cast<double>(offset) * av_q2d(media->video.stream->time_base);
}

TEST(SeekByTime, LandsOnTheKeyPacketAtOrBeforeTheTime) {
    EXPECT_NEAR(landing("plain.mp4", 2'500'000, 1), 2.0, 0.001);
    EXPECT_NEAR(landing("plain.mp4", 1'990'000, 1), 0.0, 0.001);
    EXPECT_NEAR(landing("starts_at_8s.mp4", 1'500'000, 1), 1.2, 0.001);
}

TEST(SeekByTime, LeavesTheFrameCountersAlone) {
    const test::Media media = test::open_media(test::media_path("plain.mp4"));
    media->video.want_frame = 12;
    media->video.have_frame = 11;
    seek(*media, 3'000'000, 1);
    EXPECT_EQ(media->video.want_frame, 12);
    EXPECT_EQ(media->video.have_frame, 11);
}

TEST(SeekByTime, GoesByTheFirstAudioTrackWhenAskedTo) {
    const test::Media media = test::open_media(test::media_path("two_audio_tracks.mp4"));
    EXPECT_GE(seek(*media, 3'000'000, 2), 0);
    EXPECT_EQ(seek(*media, 0, 1), 0);
}

TEST(SeekByTime, FailsOnceTheContainerIsGone) {
    const test::Media media = test::open_media(test::media_path("plain.mp4"));
    qmio_cancel(media.get());
    EXPECT_LT(seek(*media, 0, 1), 0);
}

}  // namespace
}  // namespace qmio
