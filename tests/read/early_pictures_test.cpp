// Files whose first pictures lie before the start of the stream, and so have numbers below 0.
#include <gtest/gtest.h>

#include <algorithm>

#include "core/handle/media_handle.h"
#include "support/media.h"
#include "support/numbered_picture.h"
#include "support/open_media.h"

namespace qmio::test {
namespace {

constexpr int kEarly = 10;
constexpr int64_t kPictureTime = 512;  // in plain.mp4

class EarlyPictures : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(player_.is_open());
        // As an edit list or a start that the container tells puts it.
        player_.handle()->video.stream->start_time += kEarly * kPictureTime;
    }

    Player player_{media_path("plain.mp4")};
};

TEST_F(EarlyPictures, AreDeliveredByReadingInOrder) {
    EXPECT_EQ(player_.read().number, 0);
    EXPECT_EQ(player_.handle()->video.have_frame, -kEarly);
}

// Frame 0 is wanted next until the number before it was delivered.
TEST_F(EarlyPictures, DoNotChangeWhichFrameIsWantedNext) {
    for (int number = -kEarly; number <= 0; ++number) {
        player_.read();
        EXPECT_EQ(player_.handle()->video.have_frame, number);
        EXPECT_EQ(player_.handle()->video.want_frame, std::max(number + 1, 0));
    }
}

TEST_F(EarlyPictures, ArePassedOverByASeekToFrameZeroOfAFreshHandle) {
    EXPECT_EQ(qmio_seek_frame(player_.handle(), 0), 0);
    EXPECT_FALSE(player_.handle()->container.moved);
    EXPECT_EQ(player_.read().number, kEarly);
    EXPECT_EQ(player_.read().number, kEarly + 1);
}

TEST_F(EarlyPictures, ArePassedOverByASeekToFrameZeroAfterAnyRead) {
    player_.read();
    EXPECT_EQ(qmio_seek_frame(player_.handle(), 0), 0);
    EXPECT_EQ(player_.read().number, kEarly);
}

// A film that the ffmpeg program cut out of plain.mp4 without decoding it: the pictures before the cut, which those behind
// it refer to, have negative times by its edit list. FFmpeg decodes and drops them, so that no number below 0 is seen.
constexpr int kCut = 26;  // the picture of plain.mp4 that is number 0 here

TEST(EditList, HasPacketsBeforeTheStart) {
    const Media media = open_media(media_path("edit_list.mp4"));
    ASSERT_NE(media, nullptr);
    ASSERT_EQ(qmio_get_frame(media.get()), 1);
    qmio_time_param time{};
    ASSERT_NE(qmio_get_time_param(media.get(), "packet", &time), 0);
    EXPECT_EQ(time.pts, -kCut * kPictureTime);
    EXPECT_EQ(time.start, 0);
}

TEST(EditList, IsHeededByASeekToFrameZero) {
    for (const int reads : {0, 1, 2, 40}) {
        Player player(media_path("edit_list.mp4"));
        ASSERT_TRUE(player.is_open());
        for (int read = 0; read < reads; ++read)
            player.read();
        EXPECT_EQ(qmio_seek_frame(player.handle(), 0), 0);
        EXPECT_EQ(player.read().number, kCut) << "after " << reads;
        EXPECT_EQ(player.handle()->video.have_frame, 0);
        EXPECT_EQ(player.read().number, kCut + 1);
    }
}

}  // namespace
}  // namespace qmio::test
