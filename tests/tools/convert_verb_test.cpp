// qmio convert: what the new file has kept, told by ffprobe and ffmpeg.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

#include "support/probe.h"
#include "tools/command_line.h"

namespace qmio::test {
namespace {

using testing::HasSubstr;
using testing::Not;

class Converted : public testing::Test {
  protected:
    void SetUp() override {
        if (!Probe::is_there())
            GTEST_SKIP() << "asks ffprobe, a program of the Linux system";
    }

    // Makes a file with the ffmpeg program.
    std::string make(const std::string& name, const Arguments& arguments) const {
        Arguments all{"-v", "error", "-y"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        all.push_back(utf8(folder_ / name));
        const Outcome outcome = run("ffmpeg", all);
        EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
        return all.back();
    }

    // Converts it; what was said of it stays in said_.
    Probe convert(const std::string& in, const std::string& out, const std::string& options) {
        const Outcome outcome = run_qmio({"convert", in, utf8(folder_ / out), options, "--force"});
        EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
        said_ = outcome.error_text;
        return Probe(folder_ / out);
    }

    // That a loss was said, or that nothing was about what is kept.
    void expect_said(bool is_kept, const std::string& about, const std::string& loss) const {
        EXPECT_EQ(said_.find(is_kept ? about : loss) == std::string::npos, is_kept) << loss << '\n' << said_;
    }

    // The number of the picture that is shown in each picture of a file whose pictures are gray, each by its own brightness.
    std::vector<int> brightness(const std::string& name) const {
        const Outcome outcome = run("ffmpeg", {"-v", "error", "-i", utf8(folder_ / name), "-vf", "scale=1:1", "-f",
                                               "rawvideo", "-pix_fmt", "gray", "-"});
        std::vector<int> levels;
        for (const char level : outcome.output)
            levels.push_back(static_cast<unsigned char>(level));
        return levels;
    }

    TempDir folder_;
    std::string said_;
};

constexpr const char* kPictures = "testsrc2=s=320x180:r=25:d=1";
constexpr const char* kBt709 = "setsar=64/45,setparams=color_primaries=bt709:color_trc=bt709:colorspace=bt709:range=tv";

// Of 10 bits in 4:2:2, with pixels that are not square, colours, a time code, a title, languages and two tracks.
Arguments master() {
    return {"-f",
            "lavfi",
            "-i",
            kPictures,
            "-f",
            "lavfi",
            "-i",
            "sine=d=1:r=48000",
            "-f",
            "lavfi",
            "-i",
            "sine=f=880:d=1:r=48000",
            "-map",
            "0",
            "-map",
            "1",
            "-map",
            "2",
            "-pix_fmt",
            "yuv422p10le",
            "-vf",
            kBt709,
            "-c:v",
            "prores_ks",
            "-timecode",
            "10:00:00:05",
            "-c:a",
            "pcm_s24le",
            "-metadata",
            "title=A film, so to speak",
            "-metadata:s:a:0",
            "language=eng",
            "-metadata:s:a:1",
            "language=fra"};
}

// What a container and its codecs can hold of it.
struct Plausible {
    const char* name;
    const char* codecs;
    const char* pixels;
    bool aspect, colours, time_code, title, languages;
};

void PrintTo(const Plausible& target, std::ostream* out) {
    *out << target.name;
}

class ConvertedMaster : public Converted, public testing::WithParamInterface<Plausible> {};

TEST_P(ConvertedMaster, KeepsWhatTheTargetHoldsAndSaysTheRest) {
    const Plausible& target = GetParam();
    const Probe probe = convert(make("in.mov", master()), target.name, target.codecs);
    const bool has_all_bits = std::string(target.pixels) == "yuv422p10le";
    EXPECT_EQ(probe["stream.0.pix_fmt"], target.pixels);
    expect_said(has_all_bits, "bit depth", "bit depth 10 becomes 8");
    EXPECT_EQ(probe["stream.0.sample_aspect_ratio"] == "64:45", target.aspect);
    expect_said(target.aspect, "aspect", "aspect of the pixels 64:45");
    for (const char* key : {"color_primaries", "color_transfer", "color_space"}) {
        EXPECT_EQ(probe[std::string("stream.0.") + key] == "bt709", target.colours) << key;
        expect_said(target.colours, key, std::string(key) + " bt709 is not kept");
    }
    std::string codes;
    for (const auto& [key, value] : probe.values())
        codes += key.ends_with("timecode") || key.ends_with("TIMECODE") ? value : "";
    EXPECT_EQ(codes.find("10:00:00:05") != std::string::npos, target.time_code) << codes;
    expect_said(target.time_code, "time code", "time code 10:00:00:05");
    EXPECT_EQ(probe["format.tags.title"] == "A film, so to speak", target.title);
    expect_said(target.title, "title", "title of the file");
    EXPECT_EQ(probe["stream.2.tags.language"] == "fra", target.languages);
    expect_said(target.languages, "language", "language of track 1 \"fra\"");
    EXPECT_EQ(probe["stream.2.codec_type"], "audio") << "both tracks";
    EXPECT_EQ(probe.packets(0), 25);
}

INSTANTIATE_TEST_SUITE_P(
    Into, ConvertedMaster,
    testing::Values(
        Plausible{"out.mp4", "vcodec=libx264,acodec=aac", "yuv422p10le", true, true, true, true, true},
        Plausible{"out.mov", "vcodec=prores_ks,acodec=pcm_s24le", "yuv422p10le", true, true, true, true, true},
        Plausible{"out.mkv", "vcodec=ffv1,acodec=flac", "yuv422p10le", true, true, true, true, true},
        Plausible{"out.mxf", "vcodec=mpeg2video,acodec=pcm_s16le", "yuv422p", false, true, true, false, false},
        Plausible{"out.avi", "vcodec=mpeg4,acodec=pcm_s16le", "yuv420p", true, false, true, true, false},
        Plausible{"out.ts", "vcodec=libx264,acodec=mp2", "yuv422p10le", true, true, false, false, true}),
    [](const auto& tested) { return test_name(tested.param.name); });

TEST_F(Converted, FieldsStayAsTheyAre) {
    for (const char* scan : {"tff", "bff"}) {
        const std::string in = make(
            "in.ts", {"-f", "lavfi", "-i", "testsrc2=s=352x288:r=50:d=1", "-vf", "interlace=scan=" + std::string(scan),
                      "-c:v", "mpeg2video", "-flags", "+ildct+ilme", "-b:v", "4M"});
        for (const char* target : {"mov:libx264", "mkv:libx264", "mxf:mpeg2video", "mov:prores_ks", "ts:mpeg2video"}) {
            const std::string text = target;
            const Probe probe = convert(in, "out." + text.substr(0, text.find(':')),
                                        "b:v=4M,vcodec=" + text.substr(text.find(':') + 1));
            EXPECT_EQ(probe["stream.0.field_order"], std::string(scan) == "tff" ? "tt" : "bb") << text;
            EXPECT_THAT(said_, Not(HasSubstr("field order")));
        }
        convert(in, "out.avi", "vcodec=mpeg1video");
        EXPECT_THAT(said_, HasSubstr("field order"));
        convert(in, "out.mkv", "vcodec=libx264,top=1");
        EXPECT_THAT(said_, Not(HasSubstr("field order"))) << "chosen";
    }
}

// Seconds of silence at the start of a file's sound, as ffmpeg measures it.
double silence_at_start(const std::filesystem::path& file) {
    const Outcome outcome = run("ffmpeg", {"-v", "info", "-nostats", "-i", utf8(file), "-map", "0:a", "-af",
                                           "silencedetect=n=-50dB:d=0.1", "-f", "null", "-"});
    const std::size_t at = outcome.error_text.find("silence_end: ");
    return at != std::string::npos ? std::stod(outcome.error_text.substr(at + 13)) : 0;
}

double time_of(const Probe& probe, const std::string& key) {
    return probe[key].empty() ? 0 : std::stod(probe[key]);
}

TEST_F(Converted, SoundThatBeginsLaterStillDoes) {
    const std::string in = make("in.mkv", {"-f", "lavfi", "-i", kPictures, "-itsoffset", "0.5", "-f", "lavfi", "-i",
                                           "sine=d=0.5:r=48000", "-c:v", "ffv1", "-c:a", "pcm_s16le"});
    for (const char* target : {"mkv:ffv1:pcm_s16le", "mov:mpeg4:pcm_s16le", "avi:mpeg4:pcm_s16le", "mp4:libx264:aac",
                               "mxf:mpeg2video:pcm_s16le", "ts:libx264:mp2"}) {
        std::istringstream words(target);
        std::string container, video, sound;
        std::getline(std::getline(std::getline(words, container, ':'), video, ':'), sound);
        const Probe probe = convert(in, "out." + container, "vcodec=" + video + ",acodec=" + sound);
        const double offset = time_of(probe, "stream.1.start_time") - time_of(probe, "stream.0.start_time") +
                              silence_at_start(folder_ / ("out." + container));
        EXPECT_NEAR(offset, 0.5, sound == "pcm_s16le" ? 0.001 : 0.02) << target;
        EXPECT_EQ(probe.packets(0), 25) << target;
        EXPECT_THAT(said_, HasSubstr("track 0 begins later"));
    }
}

TEST_F(Converted, PicturesThatBeginLaterStillDo) {
    const std::string in =
        make("in.mkv", {"-itsoffset", "0.4", "-f", "lavfi", "-i", kPictures, "-f", "lavfi", "-i", "sine=d=1:r=48000",
                        "-map", "0", "-map", "1", "-c:v", "ffv1", "-c:a", "pcm_s16le"});
    const Probe probe = convert(in, "out.mkv", "vcodec=ffv1,acodec=pcm_s16le");
    EXPECT_EQ(probe.packets(0), 35) << "the first one eleven times";
    EXPECT_EQ(time_of(probe, "stream.1.start_time"), time_of(probe, "stream.0.start_time"));
    EXPECT_LT(silence_at_start(folder_ / "out.mkv"), 0.001);
    EXPECT_THAT(said_, HasSubstr("pictures begin behind its sound"));
}

// A picture for every tenth of the brightness.
std::string stairs(const std::string& rate) {
    return "color=black:s=64x64:r=" + rate + ":d=2,geq=lum='16+2*N':cb=128:cr=128";
}

TEST_F(Converted, PicturesOfVaryingLengthAreShownWhenTheyWere) {
    // All of the first second, then every fifth.
    make("all.mkv", {"-f", "lavfi", "-i", stairs("25"), "-c:v", "ffv1"});
    const std::string in = make("in.mkv", {"-f", "lavfi", "-i", stairs("25"), "-vf", "select='lt(n,25)+not(mod(n,5))'",
                                           "-vsync", "vfr", "-c:v", "ffv1"});
    convert(in, "out.mkv", "vcodec=ffv1,r=25");
    const std::vector<int> all = brightness("all.mkv");
    const std::vector<int> shown = brightness("out.mkv");
    ASSERT_GE(shown.size(), 46U);
    for (std::size_t number = 0; number < 46; ++number)
        EXPECT_NEAR(shown[number], all[number < 25 ? number : number / 5 * 5], 1) << number;
    convert(in, "out.mkv", "vcodec=ffv1");
    EXPECT_THAT(said_, HasSubstr("no constant rate"));
}

TEST_F(Converted, AnotherRateKeepsTheTime) {
    const std::string in = make("in.mkv", {"-f", "lavfi", "-i", stairs("50"), "-c:v", "ffv1"});
    const std::vector<int> all = brightness("in.mkv");
    for (const int rate : {25, 50, 100, 30}) {
        convert(in, "out.mkv", "vcodec=ffv1,r=" + std::to_string(rate));
        std::vector<int> shown = brightness("out.mkv");
        ASSERT_EQ(shown.size(), static_cast<std::size_t>(2 * rate)) << rate;
        for (int& picture : shown)
            picture = static_cast<int>(std::find(all.begin(), all.end(), picture) - all.begin());
        for (std::size_t number = 0; number < shown.size(); ++number) {
            const double place = static_cast<double>(number) * 50 / rate;
            // As near as half a picture of the new rate.
            EXPECT_NEAR(shown[number], std::floor(place), rate == 30 ? 1 : 0) << number << " at " << rate;
        }
        EXPECT_THAT(said_, Not(HasSubstr("constant rate"))) << "it was asked for";
    }
}

TEST_F(Converted, TimeCodeIsThatOfTheNewRate) {
    const std::string in = make(
        "in.mov", {"-f", "lavfi", "-i", "testsrc2=s=320x180:r=50:d=1", "-c:v", "mpeg4", "-timecode", "01:02:03:40"});
    EXPECT_EQ(convert(in, "out.mov", "vcodec=mpeg4,r=25")["stream.0.tags.timecode"], "01:02:03:20");
    EXPECT_EQ(convert(in, "out.mov", "vcodec=mpeg4,timecode=05:00:00:00")["stream.0.tags.timecode"], "05:00:00:00");
}

TEST_F(Converted, WhatAContainerDoesNotTakeIsLeftOutAndSaid) {
    const std::string in = make("in.mov", master());
    const Probe probe = convert(in, "out.wav", "acodec=pcm_s24le");
    EXPECT_EQ(probe["format.nb_streams"], "1");
    EXPECT_EQ(probe["stream.0.codec_name"], "pcm_s24le");
    EXPECT_THAT(said_, HasSubstr("track 1 is left out: wav does not take it"));
    EXPECT_EQ(convert(in, "out.mkv", "acodec=flac")["format.nb_streams"], "2");
    EXPECT_EQ(convert(in, "out.mkv", "vcodec=mjpeg")["format.nb_streams"], "1");
    EXPECT_THAT(said_, HasSubstr("its sound is left out"));
}

TEST_F(Converted, TheUsersOptionsWin) {
    const std::string in = make("in.mov", master());
    const Probe probe = convert(in, "out.mkv",
                                "vcodec=ffv1,pix=yuv420p,aspect=1/1,color_primaries=smpte170m,tag:title=\"Mine, all "
                                "mine\",acodec=flac,tag:a:language=ger");
    EXPECT_EQ(probe["stream.0.pix_fmt"], "yuv420p");
    EXPECT_EQ(probe["stream.0.sample_aspect_ratio"], "1:1");
    EXPECT_EQ(probe["stream.0.color_primaries"], "smpte170m");
    EXPECT_EQ(probe["stream.0.color_transfer"], "bt709");
    EXPECT_EQ(probe["format.tags.title"], "Mine, all mine");
    EXPECT_EQ(said_, "");
}

TEST_F(Converted, SizeOfAnotherShapeKeepsThePicturesOwn) {
    const Probe probe = convert(make("in.mov", master()), "out.mkv", "vcodec=ffv1,size=640x480");
    // 320 x 64/45 to 180 as it was.
    EXPECT_EQ(probe["stream.0.display_aspect_ratio"], "1024:405");
}

}  // namespace
}  // namespace qmio::test
