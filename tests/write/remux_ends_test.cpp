// Copies that end before their sources do: closed at once, cancelled, refused by the disk.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/media.h"
#include "support/remuxing.h"
#include "support/sockets.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

class EndedRemux : public testing::TestWithParam<std::string> {
  protected:
    void make() {
        mux_ = mux(path_, "fmt=" + GetParam(), source_, source_);
        ASSERT_TRUE(mux_);
    }

    // Players open it as far as it goes, or not at all.
    std::size_t pictures() const {
        Player player(path_);
        return player.is_open() ? player.read_rest(1000).size() : 0;
    }

    TempDir folder_;
    std::filesystem::path path_ = folder_ / "copy";
    Media source_ = open_media(media_path("small_h264_aac.mp4"));
    Media mux_;
};

TEST_P(EndedRemux, WithoutAnyPacketIsClosedLikeAnyOther) {
    make();
    EXPECT_EQ(qmio_close(mux_.release()), 0);
    EXPECT_EQ(pictures(), 0U);
}

TEST_P(EndedRemux, AfterAFewPacketsHoldsThose) {
    make();
    const Copied copied = copy_packets(mux_, source_, 30);
    EXPECT_EQ(qmio_close(mux_.release()), 0);
    EXPECT_EQ(pictures(), static_cast<std::size_t>(copied.video));
}

TEST_P(EndedRemux, WhenCancelledRefusesWhatComes) {
    make();
    EXPECT_EQ(copy_packets(mux_, source_, 20).error, 0);
    ASSERT_GE(qmio_get_frame(source_.get()), 0);
    EXPECT_EQ(qmio_cancel(mux_.get()), 0);
    EXPECT_LT(qmio_copy_frame(mux_.get(), source_.get()), 0);
    EXPECT_EQ(qmio_close(mux_.release()), 0);
    EXPECT_LE(pictures(), 20U);
}

TEST_P(EndedRemux, LeavesNothingOpen) {
    const auto before = open_descriptors();
    if (!before)
        GTEST_SKIP() << "this system does not tell the open descriptors";
    make();
    copy_packets(mux_, source_, 20);
    qmio_cancel(mux_.get());
    EXPECT_EQ(open_descriptors(), before);
}

INSTANTIATE_TEST_SUITE_P(Containers, EndedRemux,
                         testing::Values("mp4", "mov", "matroska", "mpegts", "avi", "nut", "flv"),
                         [](const auto& test) { return test.param; });

// The trailer is missing, but what has been flushed can be played.
TEST(CancelledRemux, CanBePlayedWhereTheContainerNeedsNoTrailer) {
    const TempDir folder;
    for (const char* options : {"fmt=matroska", "fmt=mpegts", "fmt=mp4,movflags=frag_keyframe+empty_moov"}) {
        const Media source = open_media(media_path("long_gop.mp4"));
        const Media copy = mux(folder / "copy", options, source, source);
        EXPECT_EQ(copy_packets(copy, source, 280).error, 0);
        EXPECT_EQ(qmio_flush(copy.get()), 1);
        EXPECT_EQ(qmio_cancel(copy.get()), 0);
        Player player(folder / "copy");
        ASSERT_TRUE(player.is_open()) << options;
        EXPECT_GT(player.read_rest(1000).size(), 100U) << options;
    }
}

TEST(CancelledRemux, ReturnsFromACallThatWaitsForTheNetwork) {
    int port = 0;
    const Socket listener = listen_on_loopback(port);
    const std::string peer = "tcp://127.0.0.1:" + std::to_string(port);
    const auto film = utf8(media_path("rgb24.avi"));
    const Media source = open_media(film, "threads=1");
    const Media copy(qmio_mux_a(peer.c_str(), "fmt=nut", source.get(), nullptr));
    ASSERT_TRUE(copy);
    std::atomic<int> written{0};
    int result = 0;
    std::thread writer([&] {
        while (result >= 0) {
            if (qmio_get_frame(source.get()) < 0)
                qmio_seek_ts(source.get(), 0, 1);
            result = qmio_copy_frame(copy.get(), source.get());
            written += result > 0 ? 1 : 0;
        }
    });
    while (written < 3)
        std::this_thread::yield();
    EXPECT_EQ(qmio_cancel(copy.get()), 0);
    writer.join();
    EXPECT_LT(result, 0);
}

#ifndef _WIN32
TEST(RemuxOntoAFullDisk, IsTold) {
    for (const char* container : {"mpegts", "matroska", "avi", "nut", "mp4"}) {
        const Media film = open_media(media_path("intra_mpeg2.ts"));
        Media copy(qmio_mux_a("/dev/full", (std::string("fmt=") + container).c_str(), film.get(), nullptr));
        if (!copy)
            continue;
        EXPECT_LT(copy_packets(copy, film).error, 0) << container;
        EXPECT_EQ(qmio_close(copy.release()), 0);
    }
}
#endif

}  // namespace
}  // namespace qmio::test
