// Giving up a file that another thread is writing.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/made_pictures.h"
#include "support/media.h"
#include "support/sockets.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

// One picture is almost a megabyte, so that no network holds many.
const std::string kRaw = "fmt=rawvideo,vcodec=rawvideo,pix_fmt=bgr24,size=640x480";

// Somebody who lets himself be called and then never listens.
class DeafPeer {
  public:
    std::string url() const { return "tcp://127.0.0.1:" + std::to_string(port_); }

  private:
    int port_ = 0;
    Socket listener_ = listen_on_loopback(port_);
};

class CancelledWriter : public testing::Test {
  protected:
    void create(const std::string& name, const std::string& options, uint32_t flags = 0) {
        media_.reset(qmio_create_ex_a(name.c_str(), options.c_str(), flags));
        ASSERT_TRUE(media_);
    }

    // Until writing fails, which only the cancel brings about.
    std::thread writing_thread() {
        return std::thread([this] {
            const Bytes picture = PictureMaker("AV_PIX_FMT_BGR24", 640, 480).picture(1);
            while ((result_ = qmio_write_frame(media_.get(), picture.data())) >= 0)
                ++written_;
        });
    }

    void wait_until_written(int pictures) const {
        while (written_ < pictures)
            std::this_thread::yield();
    }

    TempDir folder_;
    Media media_;
    std::atomic<int> written_{0};
    int result_ = 0;
};

TEST_F(CancelledWriter, ReturnsFromACallThatWaitsForTheNetwork) {
    const DeafPeer peer;
    create(peer.url(), kRaw);
    std::thread writer = writing_thread();
    wait_until_written(1);
    EXPECT_EQ(qmio_cancel(media_.get()), 0);
    writer.join();
    EXPECT_LT(result_, 0);
    EXPECT_EQ(qmio_close(media_.release()), 0);
}

TEST_F(CancelledWriter, ReturnsFromACallOfSoundToo) {
    const DeafPeer peer;
    create(peer.url(), "fmt=s16le,acodec=pcm_s16le,ar=48000,ac=2,afmt=s16");
    std::thread writer([this] {
        const Bytes sound(400000);
        while ((result_ = qmio_write_audio(media_.get(), sound.data(), static_cast<int>(sound.size()))) >= 0)
            ++written_;
    });
    wait_until_written(1);
    EXPECT_EQ(qmio_cancel(media_.get()), 0);
    writer.join();
    EXPECT_EQ(result_, QMIO_TRACK_NO_STREAM);
}

TEST_F(CancelledWriter, MayBeClosedByTheThreadThatWrites) {
    const DeafPeer peer;
    create(peer.url(), kRaw);
    MediaHandle* const handle = media_.release();
    std::thread writer([this, handle] {
        const Bytes picture = PictureMaker("AV_PIX_FMT_BGR24", 640, 480).picture(1);
        while (qmio_write_frame(handle, picture.data()) >= 0)
            ++written_;
        qmio_close(handle);
    });
    wait_until_written(1);
    EXPECT_EQ(qmio_cancel(handle), 0);
    writer.join();
}

TEST_F(CancelledWriter, MayBeCancelledAtAnyMoment) {
    for (int round = 0; round < 8; ++round) {
        create((folder_ / "film.avi").string(), "fmt=avi,vcodec=rawvideo,pix_fmt=bgr24,size=640x480",
               round % 2 == 0 ? 0U : unsigned{QMIO_CREATE_INTERLEAVED});
        written_ = 0;
        std::thread writer = writing_thread();
        wait_until_written(round / 2);
        EXPECT_EQ(qmio_cancel(media_.get()), 0);
        writer.join();
        EXPECT_LT(result_, 0);
        EXPECT_EQ(qmio_cancel(media_.get()), 0);
    }
}

TEST_F(CancelledWriter, LeavesAFileWithoutTrailer) {
    const auto path = folder_ / "film.mov";
    create(path.string(), "fmt=mov,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48");
    const PictureMaker maker("AV_PIX_FMT_YUVJ420P", 64, 48);
    for (int number = 0; number < 5; ++number)
        EXPECT_EQ(qmio_write_frame(media_.get(), maker.picture(number).data()), 0);
    EXPECT_EQ(qmio_flush(media_.get()), 1);
    const auto size = std::filesystem::file_size(path);
    EXPECT_GT(size, 2000U);
    EXPECT_EQ(qmio_cancel(media_.get()), 0);
    media_.reset();
    EXPECT_EQ(std::filesystem::file_size(path), size);
    EXPECT_FALSE(open_media(path));
}

TEST_F(CancelledWriter, IsRefusedEverything) {
    create((folder_ / "film.mov").string(),
           "fmt=mov,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48,acodec=aac,ar=48000,ac=2,afmt=fltp");
    const PictureMaker maker("AV_PIX_FMT_YUVJ420P", 64, 48);
    const Bytes picture = maker.picture(0);
    Bytes sound(8192);
    qmio_write_frame(media_.get(), picture.data());
    qmio_write_audio(media_.get(), sound.data(), 5000);
    EXPECT_EQ(qmio_cancel(media_.get()), 0);
    MediaHandle* const handle = media_.get();
    EXPECT_LT(qmio_write_frame(handle, picture.data()), 0);
    EXPECT_EQ(qmio_write_audio(handle, sound.data(), 8192), QMIO_TRACK_NO_STREAM);
    EXPECT_EQ(qmio_flush(handle), 0);
    EXPECT_EQ(qmio_get_frame(handle), -1);
    EXPECT_EQ(qmio_get_file_param(handle, "check"), -1);
    qmio_set_dst_audio(handle, 2, 44100, 16);
    qmio_resample_track(handle, 0, sound.data(), picture.data(), 400);
    qmio_seek_frame(handle, 3);
    pkt_time_info info;
    AVPacket* const packet = qmio_encode_frame(handle, picture.data());
    EXPECT_GT(qmio_pkt_time(handle, packet, &info), 0);
    EXPECT_LT(qmio_put_frame(handle, packet), 0);
    qmio_pkt_free(packet);
}

TEST_F(CancelledWriter, LeavesNothingOpen) {
    const std::string name = (folder_ / "film.mov").string();
    create(name, "fmt=mov,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48");
    media_.reset();
    const auto before = open_descriptors();
    if (!before)
        GTEST_SKIP() << "this system does not tell the open descriptors";
    create(name, "fmt=mov,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48");
    EXPECT_EQ(qmio_cancel(media_.get()), 0);
    EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
}  // namespace qmio::test
