// Where the system gives no thread, films are read and written by the one that is there.
#include <gtest/gtest.h>
#include <pthread.h>

#include <thread>

#include "support/made_pictures.h"
#include "support/media.h"
#include "support/temp_dir.h"

// libx264 keeps what it had made of an encoder for which it then gets no thread.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libx264.so\n";
}

namespace qmio::test {
namespace {

// While it lives, a thread needs more room for its stack than any process has.
class NoThreads {
  public:
    NoThreads() {
        pthread_getattr_default_np(&usual_);
        pthread_attr_t endless = usual_;
        pthread_attr_setstacksize(&endless, std::size_t{1} << 48);
        pthread_setattr_default_np(&endless);
    }
    ~NoThreads() { pthread_setattr_default_np(&usual_); }

  private:
    pthread_attr_t usual_{};
};

class ScarceThreads : public testing::TestWithParam<const char*> {
  protected:
    static bool opens(const std::string& options) {
        const std::wstring wide_options(options.begin(), options.end());
        return Media(qmio_open_ex_w(wide_name(media_path(GetParam())).c_str(), wide_options.c_str())) != nullptr;
    }
};
INSTANTIATE_TEST_SUITE_P(Films, ScarceThreads, testing::Values("small_h264_aac.mp4"));

TEST_P(ScarceThreads, AreThose) {
    const NoThreads none;
    EXPECT_THROW(std::thread([] {}).join(), std::system_error);
}

TEST_P(ScarceThreads, LeaveReadingAsItIs) {
    const std::vector<Bytes> usual = all_pictures(open_media(media_path(GetParam())), 1000);
    const NoThreads none;
    EXPECT_TRUE(all_pictures(open_media(media_path(GetParam())), 1000) == usual);
    EXPECT_FALSE(usual.empty());
}

TEST_P(ScarceThreads, AreHeededBeforeTheHostsWord) {
    const NoThreads none;
    for (const char* threads : {"threads=0", "threads=7", "threads=1", "threads=7,skip_frame=nokey"})
        EXPECT_TRUE(opens(threads)) << threads;
}

class ScarceThreadsForWriting : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Encoders, ScarceThreadsForWriting,
                         testing::Values("mpeg4", "mjpeg,pix=yuvj420p", "huffyuv,pix=yuv422p", "ffv1", "png,pix=rgb24",
                                         "mpeg2video", "libx264", "libx264,preset=veryfast,bf=2", "libvpx",
                                         "libvpx-vp9"));

TEST_P(ScarceThreadsForWriting, LeaveItAsItIs) {
    const TempDir folder;
    const std::string film = "fmt=matroska,size=320x240,threads:v=4,vcodec=" + std::string(GetParam()) +
                             (std::string(GetParam()).find("pix") == std::string::npos ? ",pix=yuv420p" : "");
    const NoThreads none;
    const Writer writer(folder / "made.mkv", film);
    ASSERT_TRUE(writer.is_open());
    const Bytes picture(320 * 240 * 4);
    for (int number = 0; number < 10; ++number)
        EXPECT_EQ(qmio_write_frame(writer.handle(), picture.data()), 0);
}

}  // namespace
}  // namespace qmio::test
