// What every key answers after a cancel, and to a host that asks for what there is not.
#include <gtest/gtest.h>
#include <qmio.h>

#include <cctype>
#include <cstring>
#include <string>

#include "support/made_file.h"
#include "support/media.h"
#include "support/parameter_keys.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

using Parts = std::initializer_list<int>;

qmio_time_param noise() {
    qmio_time_param record;
    std::memset(&record, 0x5A, sizeof record);
    return record;
}

bool is_clear(const qmio_time_param& record) {
    const qmio_time_param clear{};
    return std::memcmp(&record, &clear, sizeof record) == 0;
}

// Asks everything once; what comes out is of no interest.
void ask_everything(MediaHandle* handle) {
    qmio_time_param record{};
    for (const auto* keys : {&kTextKeys, &kFileKeys, &kSharedKeys, &kTrackKeys, &kStreamKeys, &kTimeKeys, &kPartKeys})
        for (const std::string& key : *keys) {
            qmio_get_file_info(handle, key.c_str());
            qmio_get_file_param(handle, key.c_str());
            for (const int track : Parts{0, 1, 15, 16, QMIO_CONTAINER, QMIO_VIDEO})
                qmio_get_stream_param(handle, key.c_str(), track);
            qmio_get_time_param(handle, key.c_str(), &record);
            qmio_get_time_param(handle, key.c_str(), nullptr);
            qmio_set_time_param(handle, key.c_str(), &record);
            qmio_set_time_param(handle, key.c_str(), nullptr);
        }
    char text[64];
    for (const auto* keys : {&kContainerTextKeys, &kVideoTextKeys, &kTrackTextKeys})
        for (const std::string& key : *keys)
            for (const int track : Parts{0, 1, 15, 16, QMIO_CONTAINER, QMIO_VIDEO, INT32_MIN})
                qmio_get_text(handle, track, key.c_str(), text, sizeof text);
    qmio_get_smpte(handle, 12);
    qmio_timecode(handle, 12, text, sizeof text);
}

TEST(Parameters, VersionAndBuildStampNeedNoHandle) {
    EXPECT_STREQ(qmio_get_file_info(nullptr, "ver"), "3.2.2");
    EXPECT_STREQ(qmio_get_file_info(nullptr, "VER"), "3.2.2");
    const Media media = open_media(media_path("tone.wav"));
    EXPECT_STREQ(qmio_get_file_info(media.get(), "ver"), "3.2.2");
    EXPECT_STREQ(qmio_get_file_info(media.get(), "Build"), qmio_get_file_info(nullptr, "build"));
}

TEST(Parameters, BuildStampIsTwelveDigitsOfADate) {
    const std::string stamp = qmio_get_file_info(nullptr, "build");
    ASSERT_EQ(stamp.size(), 12U);
    for (const char letter : stamp)
        EXPECT_TRUE(std::isdigit(static_cast<unsigned char>(letter))) << stamp;
    const auto part = [&stamp](std::size_t place) { return std::stoi(stamp.substr(place, 2)); };
    // Not older than this test's own compilation by years, and a moment that a clock can show.
    EXPECT_GE(part(0), 24);
    EXPECT_TRUE(part(2) >= 1 && part(2) <= 12) << stamp;
    EXPECT_TRUE(part(4) >= 1 && part(4) <= 31) << stamp;
    EXPECT_LT(part(6), 24);
    EXPECT_LT(part(8), 60);
    EXPECT_LT(part(10), 61);
}

void expect_known(int64_t in_capitals, int64_t as_written, const std::string& key) {
    EXPECT_EQ(in_capitals, as_written) << key;
    EXPECT_NE(as_written, -1) << key << " could not be told from an unknown key";
}

TEST(Parameters, KeysAreReadInAnyCase) {
    const Media media = open_media(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_NE(media, nullptr);
    // Until something is decoded, many keys have the answer of an unknown one.
    EXPECT_GT(next_picture(media).result, 1);
    EXPECT_GE(qmio_get_frame(media.get()), 0);
    for (const std::string& key : kTextKeys)
        EXPECT_STREQ(qmio_get_file_info(media.get(), in_capitals(key).c_str()),
                     qmio_get_file_info(media.get(), key.c_str()))
            << key;
    for (const auto* keys : {&kFileKeys, &kSharedKeys})
        for (const std::string& key : *keys)
            expect_known(qmio_get_file_param(media.get(), in_capitals(key).c_str()),
                         qmio_get_file_param(media.get(), key.c_str()), key);
    for (const auto* keys : {&kSharedKeys, &kTrackKeys, &kStreamKeys})
        for (const std::string& key : *keys)
            expect_known(qmio_get_stream_param(media.get(), in_capitals(key).c_str(), 1),
                         qmio_get_stream_param(media.get(), key.c_str(), 1), key);
    qmio_time_param record{};
    EXPECT_EQ(qmio_get_time_param(media.get(), "VIDEO", &record), 1);
    EXPECT_EQ(qmio_set_time_param(media.get(), "Audio", &record), 1);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "GOP", 0), 12);
}

TEST(Parameters, UnknownKeysGiveTheFailureValue) {
    const Media media = open_media(media_path("two_audio_tracks.mp4"));
    ASSERT_NE(media, nullptr);
    for (const char* key : {"", "widths", "fmt ", "no such key", static_cast<const char*>(nullptr)}) {
        EXPECT_STREQ(qmio_get_file_info(media.get(), key), "");
        EXPECT_EQ(qmio_get_file_param(media.get(), key), -1);
        EXPECT_EQ(qmio_get_stream_param(media.get(), key, 0), -1);
        qmio_time_param record = noise();
        EXPECT_EQ(qmio_get_time_param(media.get(), key, &record), 0);
        EXPECT_TRUE(is_clear(record));
        record = noise();
        EXPECT_EQ(qmio_set_time_param(media.get(), key, &record), 0);
        EXPECT_TRUE(is_clear(record));
    }
}

TEST(Parameters, KeysOfOneFunctionAreUnknownToTheOther) {
    const Media media = open_media(media_path("two_audio_tracks.mp4"));
    ASSERT_NE(media, nullptr);
    for (const std::string& key : kStreamKeys)
        EXPECT_EQ(qmio_get_file_param(media.get(), key.c_str()), -1) << key;
    for (const char* key : {"gop", "set_gop", "file_sample_rate", "user_channels", "apts"})
        EXPECT_EQ(qmio_get_file_param(media.get(), key), -1) << key;
    for (const char* key :
         {"check", "error", "dts_frame", "xfmt", "xvcodec", "xacodec", "xvstream", "audio_map", "vb", "ab"})
        EXPECT_EQ(qmio_get_stream_param(media.get(), key, 0), -1) << key;
}

TEST(Parameters, TellTheStreamDecoderAndBlockSizeOfTheTrack) {
    const Media media = open_media(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "audio", 0), 1);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "audio", 1), 2);
    const auto decoder = [&](int track) { return qmio_get_stream_param(media.get(), "acodec", track); };
    EXPECT_EQ(decoder(0), qmio_get_file_param(media.get(), "acodec"));
    char name[64] = "";
    qmio_get_codec_info(reinterpret_cast<const AVCodec*>(static_cast<intptr_t>(decoder(1))), name, "name");
    EXPECT_EQ(std::string(name).substr(0, 3), "mp2");
    const Media tone = open_media(media_path("tone.wav"));
    EXPECT_EQ(qmio_get_stream_param(tone.get(), "align", 0), 2);
}

TEST(Parameters, TellTheBlockSizeOfEveryTrack) {
    const TempDir folder;
    ASSERT_TRUE(make_file(folder / "two.avi",
                          video_options("avi", "mpeg4") + ",acodec=pcm_s16le,ar=48000,ac=2,afmt=s16" +
                              ",acodec=pcm_s24le,ar=48000,ac=1,afmt=s32",
                          3));
    const Media media = open_media(folder / "two.avi");
    ASSERT_NE(media, nullptr);
    const auto block = [&](int track) { return qmio_get_stream_param(media.get(), "align", track); };
    EXPECT_EQ(block(0), 4);
    EXPECT_EQ(block(1), 3);
    EXPECT_EQ(qmio_get_file_param(media.get(), "align"), 4);
}

TEST(Parameters, ATimeRecordIsClearedForANullHandleToo) {
    for (const auto& call : {qmio_get_time_param, qmio_set_time_param})
        for (const char* key : {"video", "audio", "packet", "no such key"}) {
            qmio_time_param record = noise();
            EXPECT_EQ(call(nullptr, key, &record), 0);
            EXPECT_TRUE(is_clear(record)) << key;
            EXPECT_EQ(call(nullptr, key, nullptr), 0);
        }
}

TEST(Parameters, TracksThatThereAreNotGiveZeroForEveryKeyOfSound) {
    for (const char* name : {"two_audio_tracks.mp4", "seventeen_audio_tracks.mkv"}) {
        const Media media = open_media(media_path(name));
        ASSERT_NE(media, nullptr) << name;
        const int tracks = static_cast<int>(file_param(media, "naudio"));
        for (const auto* keys : {&kTrackKeys, &kSharedTrackKeys})
            for (const std::string& key : *keys)
                for (const int track : {-1, tracks, 16, 17, INT32_MAX, INT32_MIN})
                    EXPECT_EQ(qmio_get_stream_param(media.get(), key.c_str(), track), 0) << name << " " << key << track;
        EXPECT_EQ(qmio_get_stream_param(media.get(), "channels", tracks - 1), 1) << name;
    }
}

TEST(Parameters, ReaderAnswersEverythingAfterACancel) {
    const Media media = open_media(media_path("two_audio_tracks.mp4"));
    ASSERT_NE(media, nullptr);
    const Delivered picture = next_picture(media);
    EXPECT_GT(picture.result, 1);
    EXPECT_EQ(file_param(media, "check"), 0);
    EXPECT_EQ(file_param(media, "error"), 0);
    qmio_cancel(media.get());
    EXPECT_EQ(file_param(media, "check"), -1);
    EXPECT_EQ(qmio_get_frame(media.get()), -1);
    EXPECT_EQ(file_param(media, "error"), -1);
    ask_everything(media.get());
    EXPECT_EQ(file_param(media, "xfmt"), 0);
    EXPECT_EQ(file_param(media, "xvstream"), 0);
    EXPECT_EQ(file_param(media, "fmt"), 0);
    EXPECT_STREQ(qmio_get_file_info(media.get(), "fmt"), "");
    EXPECT_EQ(qmio_get_smpte(media.get(), 1), -1);
    char text[16] = "before";
    EXPECT_EQ(qmio_timecode(media.get(), 1, text, sizeof text), -1);
    EXPECT_STREQ(text, "");
    for (const int track : Parts{QMIO_CONTAINER, QMIO_VIDEO, 0})
        for (const char* key : {"format", "codec", "tags"})
            EXPECT_EQ(qmio_get_text(media.get(), track, key, text, sizeof text), -1) << key;
    EXPECT_EQ(file_param(media, "bit_rate"), 0);
    EXPECT_EQ(file_param(media, "duration_us"), INT64_MIN);
    EXPECT_EQ(file_param(media, "frame_rate_num"), 0);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "frame_pos", 0), -1);
    qmio_time_param record = noise();
    for (const char* key : {"video", "audio", "packet"}) {
        EXPECT_EQ(qmio_get_time_param(media.get(), key, &record), 0) << key;
        EXPECT_TRUE(is_clear(record)) << key;
    }
}

TEST(Parameters, WriterAnswersEverythingAfterACancel) {
    const TempDir folder;
    const Media media =
        create_file(folder / "cancelled.mov", video_options("mov", "mpeg4", "acodec=pcm_s16le,ac=1,ar=8000,afmt=s16"));
    ASSERT_NE(media, nullptr);
    write_pictures(media, 2);
    qmio_cancel(media.get());
    EXPECT_EQ(file_param(media, "check"), -1);
    ask_everything(media.get());
    EXPECT_EQ(file_param(media, "xvstream"), 0);
}

TEST(Parameters, SourceWithoutVideoAndSoundAnswersEverything) {
    const TempDir folder;
    // Subtitles alone.
    const std::string text = "1\n00:00:00,000 --> 00:00:01,000\nHello\n\n";
    write_bytes(folder / "text.srt", Bytes(text.begin(), text.end()));
    const Media media = open_media(folder / "text.srt");
    ASSERT_NE(media, nullptr);
    ask_everything(media.get());
    EXPECT_EQ(file_param(media, "nvideo"), 0);
    EXPECT_EQ(file_param(media, "naudio"), 0);
    EXPECT_EQ(file_param(media, "audio"), -1);
    EXPECT_STREQ(qmio_get_file_info(media.get(), "fmt"), "srt");
    EXPECT_STREQ(qmio_get_file_info(media.get(), "acodec"), "");
    EXPECT_EQ(file_param(media, "sample_fmt_id"), -1);
    EXPECT_EQ(file_param(media, "sample_fmt"), 0);
    EXPECT_EQ(file_param(media, "audio_fmt"), 0);
    EXPECT_EQ(file_param(media, "channels"), 0);
    EXPECT_EQ(file_param(media, "ab"), 0);
    EXPECT_EQ(file_param(media, "align"), 0);
    EXPECT_EQ(file_param(media, "xacodec"), 0);
}

TEST(Parameters, GopIsKeptForTheHost) {
    const Media media = open_media(media_path("tone.wav"));
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "gop", 0), 12);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "set_gop", 25), 12);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "gop", 7), 25);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "SET_GOP", -3), 25);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "gop", 0), -3);
    const Media other = open_media(media_path("tone.wav"));
    EXPECT_EQ(qmio_get_stream_param(other.get(), "gop", 0), 12);
}

}  // namespace
}  // namespace qmio::test
