// Closing, flushing and cancelling handles that read.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "core/handle/media_handle.h"
#include "support/loopback_server.h"
#include "support/media.h"
#include "support/open_media.h"

namespace {

using namespace qmio::test;

TEST(Close, OfAnOpenHandleGivesZero) {
    EXPECT_EQ(qmio_close(open_on_one_thread(media_path("two_tracks_pcm_mp2.mkv")).release()), 0);
    EXPECT_EQ(qmio_close(open_on_one_thread(media_path("tone.wav")).release()), 0);
    EXPECT_EQ(qmio_close(open_on_one_thread(media_path("still.png")).release()), 0);
}

TEST(Close, InTheMiddleOfReading) {
    Media media = open_on_one_thread(media_path("small_h264_aac.mp4"));
    ASSERT_TRUE(media);
    for (int picture = 0; picture < 7; ++picture)
        ASSERT_EQ(next_picture(media).result, 7);
    EXPECT_EQ(qmio_close(media.release()), 0);
}

TEST(Close, WithPacketsThatWereNeverReleased) {
    Media media = open_on_one_thread(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_TRUE(media);
    for (int packet = 0; packet < 12; ++packet)
        ASSERT_GE(qmio_get_frame(media.get()), 0);
    EXPECT_EQ(qmio_close(media.release()), 0);
}

TEST(Close, OfOneHandleLeavesAnotherOnTheSameFile) {
    const auto path = media_path("small_h264_aac.mp4");
    Media first = open_on_one_thread(path);
    const Media second = open_on_one_thread(path);
    const std::vector<Bytes> expected = all_pictures(open_on_one_thread(path), 100);
    ASSERT_EQ(next_picture(first).pixels, expected[0]);
    ASSERT_EQ(next_picture(second).pixels, expected[0]);
    first.reset();
    EXPECT_EQ(next_picture(second).pixels, expected[1]);
    EXPECT_EQ(all_pictures(second, 100).size(), expected.size() - 2);
}

TEST(Close, LeavesNoFileOpen) {
    open_on_one_thread(media_path("small_h264_aac.mp4"));
    const auto before = open_descriptors();
    if (!before)
        GTEST_SKIP() << "this system does not tell the open descriptors";
    for (int round = 0; round < 3; ++round) {
        const Media media = open_on_one_thread(media_path("small_h264_aac.mp4"));
        next_picture(media);
        qmio_seek_frame(media.get(), 20);
        next_picture(media);
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST(Flush, TellsWhetherThereIsAContainer) {
    const Media media = open_on_one_thread(media_path("small_h264_aac.mp4"));
    EXPECT_EQ(qmio_flush(media.get()), 1);
    EXPECT_EQ(qmio_cancel(media.get()), 0);
    EXPECT_EQ(qmio_flush(media.get()), 0);
}

TEST(Flush, OfAReaderDoesNotDisturbReading) {
    const auto path = media_path("small_h264_aac.mp4");
    const std::vector<Bytes> expected = all_pictures(open_on_one_thread(path), 100);
    const Media media = open_on_one_thread(path);
    for (const Bytes& picture : {expected[0], expected[1], expected[2]}) {
        EXPECT_EQ(next_picture(media).pixels, picture);
        EXPECT_EQ(qmio_flush(media.get()), 1);
    }
}

TEST(Cancel, MayComeTwice) {
    const Media media = open_on_one_thread(media_path("small_h264_aac.mp4"));
    EXPECT_EQ(qmio_cancel(media.get()), 0);
    EXPECT_EQ(qmio_cancel(media.get()), 0);
}

TEST(Cancel, TakesTheContainerAndLeavesTheHandle) {
    const Media media = open_on_one_thread(media_path("small_h264_aac.mp4"));
    ASSERT_TRUE(media);
    EXPECT_EQ(file_param(media, "check"), 0);
    EXPECT_EQ(qmio_cancel(media.get()), 0);
    EXPECT_EQ(media->container.format_ctx, nullptr);
    EXPECT_EQ(file_param(media, "check"), -1);
    EXPECT_EQ(file_param(media, "width"), 160);
}

// Whatever a host still asks of a cancelled handle finds no container, no stream and no demuxer behind it.
void ask_everything(const Media& media) {
    Bytes buffer(160 * 96 * 4);
    MediaHandle* handle = media.get();
    EXPECT_EQ(qmio_get_frame(handle), -1);
    EXPECT_EQ(qmio_read_frame(handle, buffer.data()), 0);
    EXPECT_EQ(qmio_release_frame(handle), 0);
    qmio_video_frame(handle, buffer.data());
    qmio_video_pkt(handle, buffer.data(), nullptr);
    qmio_get_buf(handle, buffer.data());
    qmio_is_valid_frame(handle, 1);
    qmio_is_valid_frame(handle, 2);
    qmio_seek_frame(handle, 10);
    qmio_seek_frame_ex(handle, 10);
    qmio_seek_frame_ex_old(handle, 11);
    qmio_seek_ts(handle, 1000, 1);
    qmio_seek_ts(handle, 1000, 2);
    EXPECT_EQ(qmio_set_dst_fmt(handle, 28), 1);
    qmio_get_vstream(handle);
    qmio_get_astream(handle);
    qmio_get_dur(handle);
    qmio_print(handle, "something else");
    for (const char* key : {"check", "nvideo", "naudio", "video", "audio", "width", "height", "frames", "packet", "fmt",
                            "codec", "pix", "frame_num", "frame_pos", "sar", "dar", "par", "sample_rate", "channels"}) {
        qmio_get_file_param(handle, key);
        qmio_get_stream_param(handle, key, 0);
    }
}

TEST(Cancel, LeavesEveryCallSafe) {
    for (const char* name : {"two_tracks_pcm_mp2.mkv", "small_h264_aac.mp4"}) {
        const Media fresh = open_on_one_thread(media_path(name));
        qmio_cancel(fresh.get());
        ask_everything(fresh);
        const Media reading = open_on_one_thread(media_path(name));
        for (int packet = 0; packet < 9; ++packet)
            qmio_get_frame(reading.get());
        next_picture(reading);
        qmio_cancel(reading.get());
        ask_everything(reading);
    }
}

TEST(Cancel, OfAMemorySourceIsClosedOnce) {
    const Bytes bytes = read_bytes(media_path("still.png"));
    const auto block = memory_block(memory_header(bytes.size()), bytes);
    const Media memory(qmio_open_a(block.get()));
    ASSERT_TRUE(memory);
    EXPECT_EQ(qmio_cancel(memory.get()), 0);
    const Media file = open_media("avio:" + media_path("still.png").string());
    ASSERT_TRUE(file);
    EXPECT_EQ(qmio_cancel(file.get()), 0);
}

TEST(Cancel, LeavesNoFileOpen) {
    open_on_one_thread(media_path("small_h264_aac.mp4"));
    const auto before = open_descriptors();
    if (!before)
        GTEST_SKIP() << "this system does not tell the open descriptors";
    {
        const Media media = open_on_one_thread(media_path("small_h264_aac.mp4"));
        qmio_cancel(media.get());
        EXPECT_EQ(open_descriptors(), before);
    }
    EXPECT_EQ(open_descriptors(), before);
}

// A source that sends the beginning of a stream and then falls silent without ending it.
class SilentSource : public testing::Test {
  protected:
    void SetUp() override {
        media_ = open_media(server_.url(), "probesize=100000,threads=1");
        ASSERT_TRUE(media_);
        ASSERT_EQ(file_param(media_, "width"), 160);
    }

    // Waits until the reading thread has come as far as the server sends. Reading on then waits for bytes that never
    // come; that the thread has entered the wait already cannot be known from outside, and need not be.
    void cancel_once_read() {
        server_.wait_until_sent();
        while (packets_ < 20)
            std::this_thread::yield();
        EXPECT_EQ(qmio_cancel(media_.get()), 0);
    }

    LoopbackServer server_{read_bytes(media_path("intra_mpeg2.ts"))};
    Media media_;
    std::atomic<int> packets_{0};
};

TEST_F(SilentSource, CancelEndsReadingPackets) {
    int result = 0;
    std::thread reader([&] {
        while ((result = qmio_get_frame(media_.get())) >= 0) {
            qmio_release_frame(media_.get());
            ++packets_;
        }
    });
    cancel_once_read();
    reader.join();
    EXPECT_EQ(result, -1);
    EXPECT_EQ(media_->container.format_ctx, nullptr);
}

TEST_F(SilentSource, CancelEndsReadingPictures) {
    int result = 0;
    Bytes buffer = picture_buffer(media_);
    std::thread reader([&] {
        while ((result = qmio_read_frame(media_.get(), buffer.data())) > 0)
            ++packets_;
    });
    cancel_once_read();
    reader.join();
    EXPECT_EQ(result, 0);
}

TEST_F(SilentSource, CancelHangsUp) {
    std::thread reader([&] {
        while (qmio_get_frame(media_.get()) >= 0) {
            qmio_release_frame(media_.get());
            ++packets_;
        }
    });
    cancel_once_read();
    reader.join();
    server_.wait_until_peer_left();
}

TEST_F(SilentSource, CloseAfterCancelIsClean) {
    Bytes buffer = picture_buffer(media_);
    std::thread reader([&] {
        while (qmio_read_frame(media_.get(), buffer.data()) > 0)
            ++packets_;
    });
    cancel_once_read();
    reader.join();
    EXPECT_EQ(qmio_close(media_.release()), 0);
}

TEST_F(SilentSource, TheReadingThreadMayCloseAsSoonAsItsCallReturns) {
    MediaHandle* const handle = media_.release();
    std::thread reader([&] {
        while (qmio_get_frame(handle) >= 0) {
            qmio_release_frame(handle);
            ++packets_;
        }
        qmio_close(handle);
    });
    server_.wait_until_sent();
    while (packets_ < 20)
        std::this_thread::yield();
    EXPECT_EQ(qmio_cancel(handle), 0);
    reader.join();
}

// A host that gives up at any time, also before the reader has got anywhere.
TEST(Cancel, MayComeAtAnyMoment) {
    for (int round = 0; round < 8; ++round) {
        LoopbackServer server(read_bytes(media_path("intra_mpeg2.ts")));
        const Media media = open_media(server.url(), "probesize=100000,threads=1");
        ASSERT_TRUE(media);
        Bytes buffer = picture_buffer(media);
        std::thread reader([&] {
            while (qmio_read_frame(media.get(), buffer.data()) > 0) {
            }
        });
        EXPECT_EQ(qmio_cancel(media.get()), 0);
        reader.join();
    }
}

}  // namespace
