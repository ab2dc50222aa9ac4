// Texts about the parts of a file, and the time codes of its frames.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>

#include "support/made_file.h"
#include "support/media.h"
#include "support/probe.h"
#include "support/process.h"
#include "support/temp_dir.h"
#include "support/text_of.h"

namespace qmio::test {
namespace {

const std::string kPcm = "acodec=pcm_s16le,ac=1,ar=8000,afmt=s16";
const std::string kTitle = "Z\xC3\xBCge_\xE6\x98\xA0\xE5\x83\x8F_\xF0\x9F\x8E\xAC!";  // characters of one to four bytes

class TextAbout : public testing::Test {
  protected:
    // A file of three pictures.
    Media made(const std::string& name, const std::string& options) {
        EXPECT_TRUE(make_file(folder_ / name, options, 3)) << options;
        Media media = open_media(folder_ / name);
        EXPECT_NE(media, nullptr) << options;
        return media;
    }

    // Made by the ffmpeg program from pictures of 0.2 seconds at `rate`.
    Media made_by_program(const std::string& name, const std::string& rate, const Arguments& more) {
        Arguments arguments{"-v", "error", "-nostdin", "-f", "lavfi", "-i", "testsrc2=s=64x48:d=0.2:r=" + rate};
        arguments.insert(arguments.end(), more.begin(), more.end());
        arguments.push_back(utf8(folder_ / name));
        const Outcome outcome = run("ffmpeg", arguments);
        EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
        return open_media(folder_ / name);
    }

    TempDir folder_;
};

bool is_utf8_start_of(const std::string& text, const std::string& whole) {
    const bool at_a_border =
        text.size() == whole.size() || (static_cast<unsigned char>(whole[text.size()]) & 0xC0) != 0x80;
    return at_a_border && whole.compare(0, text.size(), text) == 0;
}

TEST_F(TextAbout, AFileIsCutAtCharactersAndAlwaysEnded) {
    const Media media = made("title.mkv", video_options("matroska", "ffv1", "metadata=\"title=" + kTitle + "\""));
    ASSERT_EQ(text_of(media, QMIO_CONTAINER, "title").value_or(""), kTitle);
    const int whole = static_cast<int>(kTitle.size());
    for (int size = 1; size <= whole + 2; ++size) {
        std::string buffer(static_cast<std::size_t>(whole) + 8, '?');
        EXPECT_EQ(qmio_get_text(media.get(), QMIO_CONTAINER, "title", buffer.data(), size), whole) << size;
        const std::string text = buffer.c_str();
        EXPECT_LT(text.size(), static_cast<std::size_t>(size));
        EXPECT_TRUE(is_utf8_start_of(text, kTitle)) << size << " " << text;
        EXPECT_GE(static_cast<int>(text.size()) + 4, std::min(size, whole)) << "no more than one character is lost";
        EXPECT_EQ(buffer.substr(static_cast<std::size_t>(size)),
                  std::string(buffer.size() - static_cast<std::size_t>(size), '?'));
    }
    char untouched = '?';
    for (const int size : {0, -1, INT32_MIN})
        EXPECT_EQ(qmio_get_text(media.get(), QMIO_CONTAINER, "title", &untouched, size), whole);
    EXPECT_EQ(untouched, '?');
    EXPECT_EQ(qmio_get_text(media.get(), QMIO_CONTAINER, "title", nullptr, 100), whole);
}

TEST_F(TextAbout, TagsAreFoundInAnyCaseAndUnderNamesOfOurOwn) {
    const Media media = made("tags.mkv", video_options("matroska", "ffv1", "metadata=\"CODEC=mine,Note=two\""));
    for (const char* key : {"note", "NOTE", "Note", "tag:note", "TAG:Note"})
        EXPECT_EQ(text_of(media, QMIO_CONTAINER, key), "two") << key;
    EXPECT_EQ(text_of(media, QMIO_VIDEO, "Codec"), "ffv1");
    EXPECT_EQ(text_of(media, QMIO_CONTAINER, "tag:codec"), "mine");
    EXPECT_EQ(text_of(media, QMIO_CONTAINER, "codec"), "mine") << "a container has no codec of its own";
    const std::string tags = "\n" + text_of(media, QMIO_CONTAINER, "tags").value_or("") + "\n";
    EXPECT_NE(tags.find("\nNOTE\n"), std::string::npos) << tags;
}

TEST_F(TextAbout, WhatIsNotThereIsNotKnown) {
    const Media media = open_media(media_path("tone.wav"));
    for (const char* key : {"", "no such key", "title", "timecode", "pix_fmt", "tag:", "tag:title", "tags "})
        for (const int track : {int{QMIO_CONTAINER}, int{QMIO_VIDEO}, 0, 1, 15, 16, INT32_MAX, INT32_MIN, -3}) {
            char buffer[4] = "old";
            EXPECT_EQ(qmio_get_text(media.get(), track, key, buffer, sizeof buffer), -1) << key << " " << track;
            EXPECT_STREQ(buffer, "");
        }
    EXPECT_EQ(qmio_get_text(media.get(), 0, nullptr, nullptr, 0), -1);
    EXPECT_FALSE(text_of(media, QMIO_VIDEO, "codec"));
    EXPECT_FALSE(text_of(media, 1, "codec"));
    EXPECT_EQ(text_of(media, 0, "codec"), "pcm_s16le");
    EXPECT_EQ(text_of(media, QMIO_CONTAINER, "format"), "wav");
    EXPECT_EQ(timecode_of(media, 0), "none");
}

TEST_F(TextAbout, ATagThatIsNoUtf8BecomesSuch) {
    ASSERT_TRUE(make_file(folder_ / "bytes.mov", video_options("mov", "mpeg4", "metadata=\"title=abcdef\""), 3));
    Bytes bytes = read_bytes(folder_ / "bytes.mov");
    ASSERT_GT(replace_bytes(bytes, "abcdef",
                            "ab\xE4\xFF"
                            "ef"),
              0);
    write_bytes(folder_ / "bytes.mov", bytes);
    const Media media = open_media(folder_ / "bytes.mov");
    const std::string title = text_of(media, QMIO_CONTAINER, "title").value_or("");
    EXPECT_EQ(title.substr(0, 2) + title.substr(title.size() - 2), "abef");
    EXPECT_EQ(title.find('\xE4'), std::string::npos);
    EXPECT_EQ(title.find('\xFF'), std::string::npos);
}

TEST_F(TextAbout, AFileThatIsWrittenIsWhatWasAskedFor) {
    const Media media = create_file(
        folder_ / "new.mov",
        video_options("mov", "mpeg4", "r=30000/1001,timecode=01:00:00;00," + kPcm + ",metadata=\"title=New\""));
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(text_of(media, QMIO_CONTAINER, "format"), "mov");
    EXPECT_EQ(text_of(media, QMIO_CONTAINER, "title"), "New");
    EXPECT_EQ(text_of(media, QMIO_VIDEO, "codec"), "mpeg4");
    EXPECT_EQ(text_of(media, QMIO_VIDEO, "pix_fmt"), "yuv420p");
    EXPECT_EQ(text_of(media, 0, "codec"), "pcm_s16le");
    EXPECT_EQ(text_of(media, 0, "sample_fmt"), "s16");
    EXPECT_EQ(text_of(media, 0, "channel_layout"), "mono");
    EXPECT_EQ(timecode_of(media, 1800), "01:01:00;02");
    EXPECT_EQ(file_param(media, "frame_rate_num"), 30000);
    EXPECT_EQ(file_param(media, "frame_rate_den"), 1001);
    EXPECT_EQ(file_param(media, "frames_origin"), QMIO_FRAMES_UNKNOWN);
    EXPECT_EQ(qmio_get_stream_param(media.get(), "channel_mask", 0), 4);
}

// ---- time codes ----

TEST_F(TextAbout, TimeCodesCountFromTheOneOfTheFile) {
    const Media media = made("hour.mov", video_options("mov", "mpeg4", "r=24000/1001,timecode=10:00:00:00"));
    EXPECT_EQ(text_of(media, QMIO_CONTAINER, "timecode"), "10:00:00:00");
    EXPECT_EQ(text_of(media, QMIO_VIDEO, "timecode"), "10:00:00:00");
    EXPECT_EQ(timecode_of(media, 0), "10:00:00:00");
    EXPECT_EQ(timecode_of(media, 863), "10:00:35:23");
    EXPECT_EQ(timecode_of(media, 864), "10:00:36:00");
    EXPECT_EQ(timecode_of(media, -1), "09:59:59:23");
    EXPECT_EQ(timecode_of(media, int64_t{14} * 3600 * 24), "00:00:00:00");
    char cut[6] = "?????";
    EXPECT_EQ(qmio_timecode(media.get(), 0, cut, sizeof cut), 11);
    EXPECT_STREQ(cut, "10:00");
}

TEST_F(TextAbout, TimeCodesOfAFileWithoutOneCountFromZero) {
    const Media media = open_media(media_path("plain.mp4"));
    EXPECT_EQ(timecode_of(media, 0), "00:00:00:00");
    EXPECT_EQ(timecode_of(media, 90061), "01:00:02:11");
    EXPECT_FALSE(text_of(media, QMIO_VIDEO, "timecode"));
    const Media wrong = made("wrong.mkv", video_options("matroska", "ffv1", "metadata=\"timecode=noon\""));
    EXPECT_EQ(timecode_of(wrong, 25), "00:00:01:00");
    EXPECT_EQ(text_of(wrong, QMIO_CONTAINER, "tag:timecode"), "noon");
    EXPECT_FALSE(text_of(wrong, QMIO_CONTAINER, "timecode"));
}

struct Stamped {
    const char* container;
    const char* encoder;
    const char* rate;
    const char* start;
    const char* then;  // a hundred frames later
};

TEST_F(TextAbout, TimeCodesAreReadFromEveryContainerThatKeepsThem) {
    for (const Stamped& file :
         std::initializer_list<Stamped>{{"mov", "mpeg4", "24", "00:59:58:20", "01:00:03:00"},
                                        {"mov", "mpeg4", "25", "00:59:58:20", "01:00:02:20"},
                                        {"mov", "mpeg4", "30000/1001", "00:00:58;20", "00:01:02;02"},
                                        {"mov", "mpeg4", "30000/1001", "00:00:58:20", "00:01:02:00"},
                                        {"mov", "mpeg4", "30", "00:00:58:20", "00:01:02:00"},
                                        {"mov", "mpeg4", "50", "23:59:58:20", "00:00:00:20"},
                                        {"mov", "mpeg4", "60000/1001", "00:00:58;40", "00:01:00;24"},
                                        {"mov", "mpeg4", "60", "00:00:58:40", "00:01:00:20"},
                                        {"mov", "libx264", "120000/1001", "00:00:59;060", "00:01:00;048"},
                                        {"mp4", "mpeg4", "25", "10:00:00:00", "10:00:04:00"},
                                        {"mxf", "mpeg2video", "25", "10:20:30:04", "10:20:34:04"},
                                        {"mxf", "mpeg2video", "30000/1001", "10:20:58;04", "10:21:01;16"},
                                        {"matroska", "ffv1", "25", "10:20:30:04", "10:20:34:04"}}) {
        const std::string rate = file.rate, start = file.start;
        const Media media =
            made("stamped", video_options(file.container, file.encoder, "r=" + rate + ",timecode=" + start));
        ASSERT_NE(media, nullptr);
        EXPECT_EQ(text_of(media, QMIO_VIDEO, "timecode").value_or("none"), start) << file.container << rate;
        EXPECT_EQ(timecode_of(media, 0), start) << file.container << rate;
        EXPECT_EQ(timecode_of(media, 100), file.then) << file.container << rate;
    }
}

// The first picture that is decoded tells it, in its GOP's header.
TEST_F(TextAbout, TimeCodesOfMpegStreamsAreKnownOnceAPictureWasDecoded) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffmpeg program";
    for (const char* name : {"gop.m2v", "gop.mpg"}) {
        const Media media = made_by_program(name, "30000/1001", {"-c:v", "mpeg2video", "-timecode", "00:00:59;20"});
        ASSERT_NE(media, nullptr);
        EXPECT_FALSE(text_of(media, QMIO_VIDEO, "timecode"));
        const Delivered picture = next_picture(media);
        EXPECT_GT(picture.result, 1);
        const int64_t first = file_param(media, "dts_frame");
        EXPECT_EQ(timecode_of(media, first), "00:00:59;20") << name;
        EXPECT_EQ(timecode_of(media, first + 10), "00:01:00;02") << name;
    }
}

// ---- numbers ----

// The program turns pictures upright by itself; or it is told not to, and turns them as it is told.
TEST_F(TextAbout, PicturesAreTurnedClockwiseToBeUpright) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffmpeg program";
    made_by_program("straight.mov", "25", {});
    const std::map<int64_t, std::string> turns = {
        {0, "null"}, {90, "transpose=clock"}, {180, "hflip,vflip"}, {270, "transpose=cclock"}};
    const auto first_picture = [this](const std::string& file, const Arguments& before, const std::string& turn) {
        Arguments arguments{"-v", "error", "-nostdin"};
        arguments.insert(arguments.end(), before.begin(), before.end());
        arguments.insert(arguments.end(), {"-i", file, "-frames:v", "1", "-vf", turn, "-f", "framemd5", "-"});
        return run("ffmpeg", arguments).output;
    };
    std::set<int64_t> found;
    for (const char* tag : {"0", "90", "180", "270"}) {
        const auto turned = folder_ / (std::string("turned") + tag + ".mov");
        const std::string name = utf8(turned);
        run("ffmpeg", {"-v", "error", "-i", utf8(folder_ / "straight.mov"), "-c", "copy", "-metadata:s:v:0",
                       std::string("rotate=") + tag, name});
        const int64_t clockwise = file_param(open_media(turned), "rotation");
        ASSERT_EQ(turns.count(clockwise), 1U) << clockwise;
        EXPECT_EQ(first_picture(name, {"-noautorotate"}, turns.at(clockwise)), first_picture(name, {}, "null")) << tag;
        found.insert(clockwise);
    }
    EXPECT_EQ(found.size(), turns.size());
}

TEST_F(TextAbout, CountsOfFramesTellWhereTheyComeFrom) {
    EXPECT_EQ(file_param(open_media(media_path("plain.mp4")), "frames_origin"), QMIO_FRAMES_TOLD);
    EXPECT_EQ(file_param(open_media(media_path("h264.mkv")), "frames_origin"), QMIO_FRAMES_COMPUTED);
    EXPECT_EQ(file_param(open_media(media_path("raw.h264")), "frames_origin"), QMIO_FRAMES_UNKNOWN);
    EXPECT_EQ(file_param(open_media(media_path("raw.h264").string(), "count=1"), "frames_origin"), QMIO_FRAMES_COUNTED);
    EXPECT_EQ(file_param(open_media(media_path("tone.wav")), "frames_origin"), QMIO_FRAMES_UNKNOWN);
}

TEST_F(TextAbout, NumbersOfPartsThatThereAreNotAreUnknown) {
    const Media media = open_media(media_path("tone.wav"));
    for (const int track : {int{QMIO_VIDEO}, 1, 15, 16, -3, INT32_MAX, INT32_MIN}) {
        const auto number = [&](const char* key) { return qmio_get_stream_param(media.get(), key, track); };
        EXPECT_EQ(number("duration_us"), INT64_MIN) << track;
        EXPECT_EQ(number("Start_us"), INT64_MIN) << track;
        EXPECT_EQ(number("bit_rate"), 0) << track;
        EXPECT_EQ(number("bits_per_raw_sample"), 0) << track;
        EXPECT_EQ(number("channel_mask"), 0) << track;
    }
    EXPECT_EQ(file_param(media, "duration_us"), 2000000);
    EXPECT_EQ(file_param(media, "channel_mask"), 0) << "the header of this file names no speakers";
    EXPECT_EQ(file_param(media, "bit_rate"), qmio_get_stream_param(media.get(), "BIT_RATE", QMIO_CONTAINER));
    for (const char* key : {"frame_rate_num", "frame_rate_den", "sar_num", "sar_den", "rotation"})
        EXPECT_EQ(file_param(media, key), 0) << key;
}

}  // namespace
}  // namespace qmio::test
