// The library's allocator, the last error and the questions that only look at the handle.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "support/media.h"
#include "support/open_media.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::test;

TEST(Allocator, GivesWritableMemory) {
    auto* block = static_cast<uint8_t*>(qmio_alloc(1000));
    ASSERT_NE(block, nullptr);
    std::memset(block, 0xA5, 1000);
    qmio_free(block);
}

TEST(Allocator, CallocGivesZeros) {
    auto* block = static_cast<uint8_t*>(qmio_calloc(1000));
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(std::all_of(block, block + 1000, [](uint8_t byte) { return byte == 0; }));
    qmio_free(block);
}

TEST(Allocator, ReallocKeepsTheContent) {
    void* block = qmio_alloc(5);
    ASSERT_NE(block, nullptr);
    std::memcpy(block, "abcd", 5);
    block = qmio_realloc(block, 100000);
    ASSERT_NE(block, nullptr);
    EXPECT_STREQ(static_cast<char*>(block), "abcd");
    qmio_free(block);
}

TEST(Allocator, ReallocOfNullAllocates) {
    void* block = qmio_realloc(nullptr, 10);
    EXPECT_NE(block, nullptr);
    qmio_free(block);
}

class LastError : public testing::Test {
  protected:
    void SetUp() override {
        qmio_get_error(nullptr);
        Bytes bytes = read_bytes(media_path("two_tracks_pcm_mp2.mkv"));
        ASSERT_GT(replace_bytes(bytes, "V_MPEG4/ISO/ASP", "V_XXXX4/ISO/ASP"), 0);
        write_bytes(folder_ / "undecodable.mkv", bytes);
        ASSERT_FALSE(open_media(folder_ / "undecodable.mkv"));
    }

    TempDir folder_;
};

TEST_F(LastError, IsToldOnce) {
    char text[512] = {};
    EXPECT_EQ(qmio_get_error(text), 1);
    EXPECT_STREQ(text, "No codec found for video stream 0");
    EXPECT_EQ(qmio_get_error(text), 0);
    EXPECT_STREQ(text, "");
}

TEST_F(LastError, IsClearedWithoutABufferToo) {
    EXPECT_EQ(qmio_get_error(nullptr), 1);
    char text[512] = "before";
    EXPECT_EQ(qmio_get_error(text), 0);
    EXPECT_STREQ(text, "");
}

TEST_F(LastError, OutlivesASuccessfulOpen) {
    EXPECT_TRUE(open_media(media_path("tone.wav")));
    EXPECT_EQ(qmio_get_error(nullptr), 1);
}

TEST(HandleQueries, TellTheStreamOfThePacketReadLast) {
    const Media media = open_media(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_TRUE(media);
    bool seen_video = false, seen_audio = false;
    for (int packet = 0; packet < 20; ++packet) {
        const int kind = qmio_get_frame(media.get());
        if (kind == 1) {
            EXPECT_EQ(qmio_get_vstream(media.get()), 0);
            seen_video = true;
        } else if (kind == 2) {
            EXPECT_EQ(qmio_get_vstream(media.get()), 1);
            EXPECT_EQ(qmio_get_astream(media.get()), 1);
            seen_audio = true;
        }
        qmio_release_frame(media.get());
        EXPECT_EQ(qmio_get_vstream(media.get()), 0);
        EXPECT_EQ(qmio_get_astream(media.get()), seen_audio ? 1 : 0);
    }
    EXPECT_TRUE(seen_video);
    EXPECT_TRUE(seen_audio);
}

TEST(HandleQueries, UnknownKeysGiveMinusOne) {
    const Media media = open_media(media_path("tone.wav"));
    ASSERT_TRUE(media);
    EXPECT_EQ(file_param(media, "no such key"), -1);
    EXPECT_EQ(file_param(media, ""), -1);
    EXPECT_EQ(qmio_get_file_param(media.get(), nullptr), -1);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "no such key", 0), -1);
    EXPECT_EQ(qmio_get_stream_param(media.get(), nullptr, 0), -1);
}

TEST(HandleQueries, KeysAreComparedWithoutRegardToCase) {
    const Media media = open_media(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_TRUE(media);
    EXPECT_EQ(file_param(media, "WIDTH"), 160);
    EXPECT_EQ(file_param(media, "nAudio"), 2);
}

TEST(HandleQueries, PrintNeedsAHandleAndAWord) {
    const Media media = open_media(media_path("tone.wav"));
    ASSERT_TRUE(media);
    EXPECT_EQ(qmio_print(media.get(), nullptr), 0);
    EXPECT_EQ(qmio_print(media.get(), "something else"), 1);
}

TEST(HandleQueries, PrintWritesTheVideoStreamToTheConsoleAndNothingElse) {
    const Outcome host = run(host_program("cxx_host"), {"print", utf8(media_path("two_tracks_pcm_mp2.mkv"))});
    EXPECT_EQ(host.exit_code, 0);
    EXPECT_EQ(host.output.substr(0, 3), "1 1");
    EXPECT_EQ(host.error_text.rfind("video_st ", 0), 0U) << host.error_text;
    EXPECT_EQ(std::count(host.error_text.begin(), host.error_text.end(), '\n'), 1) << host.error_text;
}

TEST(HandleQueries, PrintWritesTheStreamOfAFileThatIsMade) {
    const TempDir folder;
    const auto lines_of = [&](const std::string& options) {
        const Outcome host = run(host_program("cxx_host"), {"print_written", utf8(folder / "made.avi"), options});
        EXPECT_EQ(host.exit_code, 0);
        EXPECT_EQ(host.output.substr(0, 3), "1 1");
        return host.error_text;
    };
    const std::string of_video = lines_of("fmt=avi,vcodec=mjpeg,pix=yuvj420p,size=64x48");
    EXPECT_NE(of_video.find("video_st "), of_video.npos) << of_video;
    EXPECT_EQ(of_video.find("video_st 0000000000000000"), of_video.npos) << of_video;
    const std::string of_sound = lines_of("fmt=avi,acodec=pcm_s16le,afmt=s16,ar=48000,ac=1");
    EXPECT_NE(of_sound.find("video_st 0000000000000000"), of_sound.npos) << of_sound;
}

TEST(HandleQueries, ClosingNullWritesNothing) {
    const Outcome host = run(host_program("cxx_host"));
    EXPECT_EQ(host.exit_code, 0);
    EXPECT_EQ(host.output + host.error_text, "");
}

}  // namespace
