// A source that cannot be sought.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "core/handle/media_handle.h"
#include "support/media.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

// A transport stream that came like one from a network, without a way back, and lost its bytes after it was opened.
class RefusedSeek : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::copy_file(media_path("mpeg2.ts"), path_);
        player_ = std::make_unique<Player>(path_);
        ASSERT_TRUE(player_->is_open());
        std::filesystem::resize_file(path_, 0);
        handle()->container.format_ctx->pb->seekable = 0;
    }

    void give_the_file_back() {
        write_bytes(path_, read_bytes(media_path("mpeg2.ts")));
        handle()->container.format_ctx->pb->seekable = AVIO_SEEKABLE_NORMAL;
    }

    MediaHandle* handle() const { return player_->handle(); }

    TempDir folder_;
    std::filesystem::path path_ = folder_ / "lost.ts";
    std::unique_ptr<Player> player_;
};

TEST_F(RefusedSeek, IsMinusOneAndLaterOnesAnswerZero) {
    EXPECT_EQ(qmio_seek_frame(handle(), 40), -1);
    EXPECT_EQ(qmio_seek_frame(handle(), 40), 0);
    EXPECT_EQ(qmio_seek_frame_ex_old(handle(), 40), 0);
}

TEST_F(RefusedSeek, IsTriedAgainByTheExactVariant) {
    EXPECT_EQ(qmio_seek_frame(handle(), 40), -1);
    EXPECT_EQ(qmio_seek_frame_ex(handle(), 40), -1);
    EXPECT_EQ(qmio_seek_frame_ex(handle(), 40), -1);
}

TEST_F(RefusedSeek, StaysRefusedWhenTheFileComesBackExceptToTheExactVariant) {
#ifdef _WIN32
    GTEST_SKIP() << "a file that another has open cannot be written anew here";
#endif
    EXPECT_EQ(qmio_seek_frame(handle(), 40), -1);
    give_the_file_back();
    EXPECT_EQ(qmio_seek_frame(handle(), 40), 0);
    EXPECT_EQ(qmio_seek_frame_ex(handle(), 40), 40);
    EXPECT_EQ(player_->read().number, 40);
}

TEST(OneFrameSource, ForgetsAWantedFrameWhenItAnswersFrameZero) {
    const Media media = open_media(media_path("live_h264.mkv"));
    qmio_seek_frame_ex(media.get(), 5);
    EXPECT_EQ(qmio_seek_frame(media.get(), 9), 0);
    EXPECT_EQ(media->reading.pending, nullptr);
    qmio_seek_frame_ex(media.get(), 5);
    EXPECT_EQ(qmio_seek_ts(media.get(), 0, 1), 0);
    EXPECT_EQ(media->reading.pending, nullptr);
}

TEST_F(RefusedSeek, LeavesNoFrameWanted) {
    EXPECT_EQ(qmio_seek_frame(handle(), 40), -1);
    EXPECT_EQ(handle()->video.want_frame, 0);
    EXPECT_EQ(handle()->video.have_frame, -1);
    EXPECT_EQ(handle()->reading.seek_position, 0);
    EXPECT_EQ(handle()->reading.pending, nullptr);
}

TEST_F(RefusedSeek, DoesNotConcernTheStartOfAFreshHandle) {
    EXPECT_EQ(qmio_seek_frame(handle(), 0), 0);
    EXPECT_EQ(qmio_seek_frame(handle(), 40), -1) << "the first seek has looked at the file";
}

TEST_F(RefusedSeek, DoesNotConcernTheOldVariantOnTheWantedFrame) {
    EXPECT_EQ(qmio_seek_frame_ex_old(handle(), 0), 0);
    EXPECT_FALSE(handle()->reading.no_seek);
    EXPECT_EQ(qmio_seek_frame_ex_old(handle(), 40), -1);
    EXPECT_EQ(qmio_seek_frame(handle(), 40), 0);
}

TEST_F(RefusedSeek, ByTimeIsZero) {
    EXPECT_EQ(qmio_seek_ts(handle(), 200000, 1), 0);
}

}  // namespace
}  // namespace qmio::test
