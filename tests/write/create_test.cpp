// Making a file: what the options ask of it, what it is named, and everything that can go wrong.
#include <gtest/gtest.h>

#include <cstring>

#include "support/documented_results.h"
#include "support/made_pictures.h"
#include "support/media.h"
#include "support/probe.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

const std::string kVideo = "vcodec=mpeg4,pix_fmt=yuv420p,size=64x48";
const std::string kSound = "acodec=pcm_s16le,ar=48000,ac=2,afmt=s16";

class Create : public testing::Test {
  protected:
    // The file with three pictures, closed.
    std::filesystem::path made(const std::string& options, const std::string& name = "made.mov") const {
        std::filesystem::path path = folder_ / path_of(name);
        const Writer writer(path, options);
        EXPECT_TRUE(writer.is_open()) << options;
        write_pictures(writer, PictureMaker("AV_PIX_FMT_YUV420P", 64, 48), 3);
        return path;
    }

    std::filesystem::path path(const std::string& name = "made.mov") const { return folder_ / path_of(name); }
    bool opens(const std::string& options, uint32_t flags = 0) const {
        return Writer(path(), options, flags).is_open();
    }

  private:
    TempDir folder_;
};

// ---- the container ----

TEST_F(Create, WithoutContainerFailsWhateverTheNameSays) {
    EXPECT_FALSE(opens(kVideo));
    EXPECT_FALSE(opens("fmt=," + kVideo));
    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(Create, TakesTheContainerFromTheOptionsNotFromTheName) {
    const Bytes file = read_bytes(made("fmt=avi," + kVideo, "film.mp4"));
    EXPECT_EQ(std::string(file.begin(), file.begin() + 4), "RIFF");
}

TEST_F(Create, WithUnknownContainerFails) {
    EXPECT_FALSE(opens("fmt=nonesuch," + kVideo));
    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(Create, WithoutStreamsIsForTheContainerToDecide) {
    // FFmpeg's "ffmetadata" is content with nothing inside; films are not.
    EXPECT_TRUE(opens("fmt=ffmetadata"));
    EXPECT_FALSE(opens("fmt=mov"));
    EXPECT_FALSE(opens("fmt=wav"));
}

TEST_F(Create, WithoutNameOrOptionsFails) {
    EXPECT_EQ(qmio_create_a(path().string().c_str(), nullptr), nullptr);
    EXPECT_EQ(qmio_create_w(wide_name(path()).c_str(), nullptr), nullptr);
    EXPECT_EQ(qmio_create_a("", "fmt=mov"), nullptr);
}

TEST_F(Create, TakesOptionsOverManyLinesWithComments) {
    const auto file =
        made("# a film\nfmt=mov\n; its picture\nvcodec=mpeg4\npix_fmt=yuv420p size=64x48\n// end\nr=50\n");
    EXPECT_EQ(numbers(Player(file).read_rest(9)), numbers_from(0, 3));
}

TEST_F(Create, RefusesWideOptionsThatAreTooLong) {
    const std::string most = "fmt=mov," + kVideo + ",comment=";
    EXPECT_TRUE(opens(most + std::string(4095 - most.size(), 'x')));
    EXPECT_FALSE(opens(most + std::string(4096 - most.size(), 'x')));
}

// ---- the rate ----

struct Rate {
    std::string option;
    std::string told;
};

void PrintTo(const Rate& rate, std::ostream* out) {
    *out << rate.option;
}

class RateOption : public testing::TestWithParam<Rate> {};

TEST_P(RateOption, BecomesTheRateOfTheFile) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffprobe program";
    const TempDir folder;
    const auto path = folder / "made.mov";
    write_pictures(Writer(path, "fmt=mov," + kVideo + GetParam().option), PictureMaker("AV_PIX_FMT_YUV420P", 64, 48),
                   5);
    const Probe probe(path);
    EXPECT_EQ(probe["stream.0.r_frame_rate"], GetParam().told);
    EXPECT_EQ(probe["stream.0.avg_frame_rate"], GetParam().told);
    EXPECT_EQ(probe.frames(0), 5);
}

INSTANTIATE_TEST_SUITE_P(Rates, RateOption,
                         testing::Values(Rate{"", "25/1"}, Rate{",r=30000/1001", "30000/1001"}, Rate{",r=0/2", "25/1"},
                                         Rate{",r=25/0", "25/1"}, Rate{",r=50", "50/1"}, Rate{",r=x", "25/1"},
                                         Rate{",r=24/", "24/1"}, Rate{",r=60/1,r=10", "60/1"}),
                         [](const auto& test) { return "Rate" + test_name(test.param.option + "_"); });

TEST_F(Create, WithAbsurdRatesFailsOrWritesButNeverCrashes) {
    const PictureMaker maker("AV_PIX_FMT_YUV420P", 64, 48);
    int opened = 0;
    for (const char* rate : {"-25", "25/-1", "-25/-1", "0/-1", "2147483647", "1/2147483647", "-2147483648/-2147483648",
                             "0/2147483647", "99999999999"})
        for (const char* container : {"mov", "avi", "matroska", "mpegts"}) {
            const Writer writer(path("absurd"), "fmt=" + std::string(container) + "," + kVideo + ",r=" + rate);
            if (!writer.is_open())
                continue;
            ++opened;
            for (const int number : {0, 1})
                EXPECT_PRED1(is_writing_result, writer.write_picture(maker, number)) << container << " " << rate;
        }
    EXPECT_GT(opened, 0);
}

TEST_F(Create, WritesTheTimeCodeToTheStreamToo) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffprobe program";
    const Probe probe(made("fmt=matroska,timecode=10:20:30:04," + kVideo, "made.mkv"));
    EXPECT_EQ(probe["format.tags.TIMECODE"], "10:20:30:04");
    EXPECT_EQ(probe["stream.0.tags.TIMECODE"], "10:20:30:04");
}

// ---- pictures and sound that cannot be ----

TEST_F(Create, WithUnknownVideoEncoderHasNoVideo) {
    const Writer writer(path(), "fmt=mov,vcodec=nonesuch,pix_fmt=yuv420p,size=64x48," + kSound);
    ASSERT_TRUE(writer.is_open());
    EXPECT_EQ(writer.write_picture(PictureMaker("AV_PIX_FMT_YUV420P", 64, 48), 0), 0);
    EXPECT_EQ(qmio_get_file_param(writer.handle(), "nvideo"), 0);
}

TEST_F(Create, WithoutPictureFormatOrSizeFails) {
    EXPECT_FALSE(opens("fmt=mov,vcodec=mpeg4,size=64x48"));
    EXPECT_FALSE(opens("fmt=mov,vcodec=mpeg4,pix_fmt=nonesuch,size=64x48"));
    EXPECT_FALSE(opens("fmt=mov,vcodec=mpeg4,pix_fmt=rgb24,size=64x48"));
    EXPECT_FALSE(opens("fmt=mov,vcodec=mpeg4,pix_fmt=yuv420p"));
    EXPECT_FALSE(opens("fmt=mov,vcodec=mpeg4,pix_fmt=yuv420p,size=64"));
    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(Create, WithAbsurdSizesFails) {
    for (const char* size : {"0x0", "-64x48", "64x-48", "2147483647x2147483647", "1000000x1000000", "1Gx1", "1x1G"})
        for (const char* encoder : {"mpeg4", "ffv1", "rawvideo", "png", "libx264"})
            EXPECT_FALSE(opens("fmt=mov,pix_fmt=yuv420p,vcodec=" + std::string(encoder) + ",size=" + size)) << size;
}

TEST_F(Create, WithUnknownSoundEncoderLeavesTheTrackOut) {
    const Writer writer(path(), "fmt=mov," + kVideo + ",acodec=nonesuch,ac=2,ar=48000," + kSound);
    ASSERT_TRUE(writer.is_open());
    const Bytes sound(400);
    EXPECT_EQ(writer.write_sound(0, sound), QMIO_TRACK_NO_STREAM_INDEX);
    EXPECT_GE(writer.write_sound(1, sound), 0);
    EXPECT_EQ(writer.write_sound(2, sound), QMIO_TRACK_NO_TRACK);
}

TEST_F(Create, WithSoundThatTheEncoderDoesNotTakeFails) {
    EXPECT_FALSE(opens("fmt=mov,acodec=aac,ar=48000,ac=2,afmt=s16"));
    EXPECT_FALSE(opens("fmt=mov,acodec=aac,ar=48000,ac=2,afmt=nonesuch"));
    EXPECT_FALSE(opens("fmt=mov,acodec=aac,ar=48000,ac=2,afmt=7"));
    EXPECT_FALSE(opens("fmt=mov,acodec=mp2,ar=12345,ac=2,afmt=s16"));
    EXPECT_FALSE(opens("fmt=mov,acodec=mp2,ar=48000,ac=9,afmt=s16"));
    EXPECT_FALSE(opens("fmt=mov,acodec=aac,afmt=fltp,ac=2"));
    for (const char* absurd : {"ar=-1", "ar=2147483647,ac=2147483647", "ac=-2", "ac=1000", "ac=512,ar=0"})
        EXPECT_FALSE(opens("fmt=mov,acodec=aac,afmt=fltp," + std::string(absurd))) << absurd;
}

TEST_F(Create, WithASecondTrackThatFailsMakesNothing) {
    EXPECT_FALSE(opens("fmt=mov," + kVideo + "," + kSound + ",acodec=aac,ar=48000,ac=2,afmt=s16"));
    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(Create, TakesExperimentalEncodersOnlyWhenTheyAreAllowed) {
    const std::string sound = "fmt=matroska,acodec=vorbis,afmt=fltp,ar=48000,ac=2";
    EXPECT_FALSE(opens(sound));
    EXPECT_FALSE(opens(sound + ",strict:a=1"));
    EXPECT_FALSE(opens(sound + ",strict:v=experimental"));
    EXPECT_TRUE(opens(sound + ",strict:a=experimental"));
    EXPECT_TRUE(opens(sound + ",strict:a=-2"));
}

// ---- the output ----

TEST_F(Create, InAFolderThatIsNotThereFails) {
    EXPECT_FALSE(Writer(path("no folder") / "made.mov", "fmt=mov," + kVideo + "," + kSound).is_open());
}

TEST_F(Create, OverAFolderFails) {
    std::filesystem::create_directory(path("folder.mov"));
    EXPECT_FALSE(Writer(path("folder.mov"), "fmt=mov," + kVideo).is_open());
}

TEST_F(Create, WhereTheContainerRefusesTheCodecFails) {
    EXPECT_FALSE(opens("fmt=webm," + kVideo));
    EXPECT_FALSE(opens("fmt=wav," + kVideo + "," + kSound));
}

TEST_F(Create, LeavesNothingOpenAfterFailures) {
    opens("fmt=webm," + kVideo);
    const auto before = open_descriptors();
    if (!before)
        GTEST_SKIP() << "this system does not tell the open descriptors";
    opens("fmt=webm," + kVideo);
    opens("fmt=mov,acodec=aac,ar=48000,ac=2,afmt=s16," + kVideo);
    EXPECT_FALSE(Writer(path("no folder") / "made.mov", "fmt=mov," + kVideo + "," + kSound).is_open());
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(Create, TakesFlagsThatNobodyKnows) {
    for (const uint32_t flags : {1U, 8U, 0x8000U, 0x7FE37FF0U, 0xFFE3FFFFU}) {
        {
            const Writer writer(path(), "fmt=mov," + kVideo, flags);
            ASSERT_TRUE(writer.is_open()) << flags;
            write_pictures(writer, PictureMaker("AV_PIX_FMT_YUV420P", 64, 48), 3);
        }
        EXPECT_EQ(numbers(Player(path()).read_rest(9)), numbers_from(0, 3)) << flags;
    }
}

TEST_F(Create, ReplacesAFileThatIsThere) {
    write_bytes(path("made.avi"), Bytes(100000, 'x'));
    const auto file = made("fmt=avi," + kVideo, "made.avi");
    EXPECT_LT(std::filesystem::file_size(file), 100000U);
    EXPECT_EQ(numbers(Player(file).read_rest(9)), numbers_from(0, 3));
}

TEST_F(Create, ToAContainerThatOpensItsOwnFilesNeedsNoOutput) {
    const auto pattern = path("picture%02d.png");
    {
        const Writer writer(pattern, "fmt=image2,vcodec=png,pix_fmt=rgb24,size=64x48");
        ASSERT_TRUE(writer.is_open());
        write_pictures(writer, PictureMaker("AV_PIX_FMT_RGB24", 64, 48), 2);
    }
    EXPECT_EQ(Player(path("picture01.png")).read().number, 0);
    EXPECT_EQ(Player(path("picture02.png")).read().number, 1);
}

// Without an output of the library's they get no trailer, and they write their last files, or all, with that.
TEST_F(Create, ToAContainerThatCompletesItsOwnFilesWithATrailerFails) {
    for (const std::string container :
         {"dash", "fifo", "fifo_test", "hds", "hls", "smoothstreaming", "tee", "webm_chunk"}) {
        if (av_guess_format(container.c_str(), nullptr, nullptr) == nullptr)
            continue;  // not in every release
        testing::internal::CaptureStderr();
        EXPECT_FALSE(opens("fmt=" + container + "," + kVideo)) << container;
        EXPECT_NE(testing::internal::GetCapturedStderr().find("[" + container + "]"), std::string::npos) << container;
    }
    EXPECT_TRUE(std::filesystem::is_empty(path().parent_path()));
}

TEST_F(Create, ToSegmentsLeavesThemAllReadable) {
    const std::string options =
        "fmt=segment,segment_format=mpegts,segment_time=1,vcodec=mpeg2video,pix_fmt=yuv420p,size=64x48,g=25";
    write_pictures(Writer(path("part%d.ts"), options), PictureMaker("AV_PIX_FMT_YUV420P", 64, 48), 75);
    EXPECT_EQ(all_pictures(open_media(path("part0.ts")), 99).size(), 25U);
    EXPECT_EQ(all_pictures(open_media(path("part1.ts")), 99).size(), 25U);
    EXPECT_TRUE(std::filesystem::exists(path("part2.ts")));
}

// ---- names ----

TEST_F(Create, CutsTheNameAtTheFirstBar) {
    made("fmt=mov," + kVideo, "made.mov|extra|more");
    EXPECT_EQ(numbers(Player(path("made.mov")).read_rest(9)), numbers_from(0, 3));
    const std::string narrow = utf8(path("narrow.mov")) + "|" + std::string(100, 'x');
    const Media media(qmio_create_a(narrow.c_str(), ("fmt=mov," + kVideo).c_str()));
    EXPECT_TRUE(media);
    EXPECT_TRUE(std::filesystem::exists(path("narrow.mov")));
}

TEST_F(Create, TakesNarrowNames) {
    std::vector<std::string> names = {"plain.mov", "100% [of] it; a, b = c.mov", "%d %s %03d.mov"};
#ifndef _WIN32
    // There the code page of narrow names decides; here they are UTF-8.
    names.insert(names.end(), {"\xC3\xA4\xC3\xB6.mov", "\xE6\x98\xA0\xE7\x94\xBB.mov"});
#endif
    for (const std::string& name : names) {
        {
            const Media media(qmio_create_a(utf8(path(name)).c_str(), ("fmt=mov," + kVideo).c_str()));
            ASSERT_TRUE(media) << name;
            qmio_write_frame(media.get(), PictureMaker("AV_PIX_FMT_YUV420P", 64, 48).picture(1).data());
        }
        EXPECT_EQ(all_pictures(open_media(path(name)), 9).size(), 1U) << name;
    }
}

TEST_F(Create, RefusesNamesThatAreTooLong) {
    const std::string options = "fmt=null," + kVideo;
    const auto made = [&](std::size_t length) {
        const Media media(qmio_create_w(std::wstring(length, L'x').c_str(), wide_text(options).c_str()));
        return media != nullptr;
    };
    EXPECT_TRUE(made(1023));
    EXPECT_FALSE(made(1024));
    EXPECT_TRUE(Media(qmio_create_a(std::string(512, 'x').c_str(), options.c_str())));
    EXPECT_FALSE(Media(qmio_create_a(std::string(513, 'x').c_str(), options.c_str())));
}

TEST_F(Create, TakesWideNamesOfEveryScript) {
    for (const char* name : {"\xC3\xA4\xC3\xB6.mov", "\xD1\x84\xD0\xB8\xD0\xBB\xD1\x8C\xD0\xBC.mov",
                             "\xE6\x98\xA0\xE7\x94\xBB.mov", "\xF0\x9F\x8E\xAC film.mov"}) {
        const auto file = path(name);
        write_pictures(Writer(file, "fmt=mov," + kVideo), PictureMaker("AV_PIX_FMT_YUV420P", 64, 48), 3);
        EXPECT_TRUE(std::filesystem::exists(file)) << name;
        EXPECT_EQ(all_pictures(open_media(file), 9).size(), 3U) << name;
    }
}

}  // namespace
}  // namespace qmio::test
