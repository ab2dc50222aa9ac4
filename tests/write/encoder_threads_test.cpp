// How many threads encoders have: what the options say, else what the configuration does.
#include <gtest/gtest.h>

#include "core/handle/media_handle.h"
#include "core/process/settings.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

class EncoderThreads : public testing::Test {
  protected:
    ~EncoderThreads() override { set_cores(0); }

    // The settings are read-only to the library, not to its tests.
    static void set_cores(int cores) { const_cast<Settings&>(settings()).core_count = cores; }

    int of_video(const std::string& options) const {
        const Media media(qmio_create_a(utf8(folder_ / "film.avi").c_str(),
                                        ("fmt=avi,vcodec=mpeg4,pix=yuv420p,size=320x240," + options).c_str()));
        return media != nullptr ? media->video.codec->thread_count : -1;
    }
    int of_sound(const std::string& options) const {
        const Media media(qmio_create_a(utf8(folder_ / "tone.flac").c_str(),
                                        ("fmt=flac,acodec=flac,afmt=s16,ar=48000,ac=1," + options).c_str()));
        return media != nullptr ? media->tracks.first().codec->thread_count : -1;
    }

    TempDir folder_;
};

TEST_F(EncoderThreads, AreTheCoresOfTheConfiguration) {
    EXPECT_EQ(of_video(""), 1) << "as FFmpeg has it";
    set_cores(3);
    EXPECT_EQ(of_video(""), 3);
    EXPECT_EQ(of_video("g=12"), 3);
    EXPECT_EQ(of_sound(""), 1) << "FFmpeg opens an encoder that knows no threads with one";
}

TEST_F(EncoderThreads, AreWhatTheOptionsSay) {
    set_cores(3);
    EXPECT_EQ(of_video("threads=2"), 2);
    EXPECT_EQ(of_video("threads:v=2"), 2);
    EXPECT_EQ(of_video("threads:a=2"), 3);
}

TEST_F(EncoderThreads, OfDecodersAreNoBusinessOfTheirs) {
    set_cores(3);
    const Media media = open_media(utf8(media_path("plain.mp4")), "threads=1");
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(media->video.codec->thread_count, 1);
}

}  // namespace
}  // namespace qmio::test
