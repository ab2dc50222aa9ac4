// Files whose first pictures lie before the start of the stream, and so have numbers below 0.
#include <gtest/gtest.h>

#include "core/handle/media_handle.h"
#include "support/media.h"
#include "support/numbered_picture.h"

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

}  // namespace
}  // namespace qmio::test
