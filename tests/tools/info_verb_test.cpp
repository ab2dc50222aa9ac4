#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "support/made_file.h"
#include "support/probe.h"
#include "support/seed.h"
#include "tools/command_line.h"

namespace qmio::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

TEST(InfoVerb, TellsSizeAndCountOfAVideo) {
    const Outcome outcome = run_qmio({"info", made("plain.mp4")});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output, HasSubstr(made("plain.mp4")));
    EXPECT_THAT(outcome.output, ContainsRegex("picture size +320 x 192"));
    EXPECT_THAT(outcome.output, ContainsRegex("frames +150 \\(told by the container\\)"));
    EXPECT_THAT(outcome.output, ContainsRegex("audio tracks +0"));
    EXPECT_THAT(outcome.output, Not(HasSubstr("track 0")));
}

TEST(InfoVerb, ListsEveryAudioTrack) {
    const Outcome outcome = run_qmio({"info", made("two_audio_tracks.mp4")});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output, ContainsRegex("audio tracks +2"));
    EXPECT_THAT(outcome.output,
                ContainsRegex("track 0 +aac \\(LC\\), 44100 Hz, 1 channel \\(mono\\), fltp, und, .+ kbit/s"));
    EXPECT_THAT(outcome.output, ContainsRegex("track 1 +aac \\(LC\\), 44100 Hz, 1 channel \\(mono\\)"));
    EXPECT_THAT(outcome.output, Not(HasSubstr("track 2")));
}

TEST(InfoVerb, SoundAloneHasADurationAndNoPictureSize) {
    const Outcome outcome = run_qmio({"info", made("tone.wav")});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output, ContainsRegex("video streams +0"));
    EXPECT_THAT(outcome.output, Not(HasSubstr("picture size")));
    EXPECT_THAT(outcome.output, ContainsRegex("audio duration +0:00:02.000\n"));
    EXPECT_THAT(outcome.output, ContainsRegex("track 0 +pcm_s16le, 48000 Hz, 1 channel, s16, 768 kbit/s"));
}

TEST(InfoVerb, AStillPictureIsOneFrame) {
    const Outcome outcome = run_qmio({"info", made("still.png")});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output, ContainsRegex("picture size +161 x 121"));
    EXPECT_THAT(outcome.output, ContainsRegex("frames +1 \\(not told\\)\n"));
}

TEST(InfoVerb, TellsAtAGlanceWhatAFileIs) {
    const TempDir folder;
    ASSERT_TRUE(make_file(folder / "told.mov",
                          video_options("mov", "libx264",
                                        "r=24000/1001,timecode=10:00:00:00,b:v=200k,"
                                        "color_primaries=bt709,color_trc=bt709,colorspace=bt709,"
                                        "color_range=tv,metadata=\"title=Told\""),
                          48));
    const std::string output = run_qmio({"info", utf8(folder / "told.mov")}).output;
    for (const char* row :
         {"container +mov,mp4,m4a,3gp,3g2,mj2 - QuickTime / MOV\n", "duration +0:00:02.00.\n",
          "time code +10:00:00:00\n", "title +Told\n", "video codec +h264 \\(High\\)\n", "picture size +64 x 48\n",
          "pixel aspect +.*picture 4:3\n", "pixel format +yuv420p\n", "field order +progressive\n",
          "colour +primaries bt709, transfer bt709, matrix bt709, range tv", "frame rate +23.976 \\(24000/1001\\)\n",
          "frames +48 \\(told", "bit rate +.+ k?bit/s\n"})
        EXPECT_THAT(output, ContainsRegex(row));
    EXPECT_THAT(output, Not(HasSubstr("rotation")));
}

TEST(InfoVerb, TellsWhichFieldComesFirst) {
    for (const auto& [name, order] : {std::pair{"h264_tff.mp4", "top"}, {"mpeg2_bff.ts", "bottom"}})
        EXPECT_THAT(run_qmio({"info", made(name)}).output,
                    ContainsRegex(std::string("field order +interlaced, ") + order + " field first\n"));
}

TEST(InfoVerb, ShowsPicturesThatHaveToBeTurned) {
    if (real_files().empty())
        GTEST_SKIP() << "the folder of real media is not there";
    EXPECT_THAT(run_qmio({"info", utf8(real_media("decord-video_180.mov"))}).output,
                ContainsRegex("rotation +180 degrees clockwise"));
}

TEST(InfoVerb, RowsOfEveryRealFileAreAsFfprobeTells) {
    if (!Probe::is_there())
        GTEST_SKIP() << "there is no ffprobe program";
    if (real_files().empty())
        GTEST_SKIP() << "the folder of real media is not there";
    std::vector<RealFile> files = real_files();
    if (std::getenv("QMIO_SWEEP") == nullptr) {
        std::shuffle(files.begin(), files.end(), std::mt19937(printed_seed(1)));
        files.resize(12);
    }
    for (const RealFile& file : files) {
        const Outcome outcome = run_qmio({"info", utf8(real_media(file.name))});
        if (outcome.exit_code != 0)
            continue;
        SCOPED_TRACE(file.name);
        const Probe probe(real_media(file.name), Probe::Depth::headers);
        EXPECT_THAT(outcome.output,
                    HasSubstr(" " + probe["format.format_name"] + " - " + probe["format.format_long_name"]));
        for (int stream = 0; stream < std::stoi(probe["format.nb_streams"]); ++stream) {
            const std::string at = "stream." + std::to_string(stream) + ".";
            const bool shown = at + "x" == "stream.0.x" || probe[at + "codec_type"] == "audio";
            if (shown && probe[at + "codec_name"] != "unknown") {
                EXPECT_THAT(outcome.output, HasSubstr(" " + probe[at + "codec_name"])) << at;
            }
            if (probe[at + "codec_type"] == "audio") {
                EXPECT_THAT(outcome.output,
                            HasSubstr(", " + probe[at + "sample_rate"] + " Hz, " + probe[at + "channels"]));
            }
        }
    }
}

}  // namespace
}  // namespace qmio::test
