// qmio formats, codecs, pixfmts, timecode, and info as JSON.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tools/command_line.h"

namespace qmio::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

TEST(FormatsVerb, ListsWhatCanBeWritten) {
    const Outcome outcome = run_qmio({"formats"});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output, ContainsRegex("VA mp4 +MP4 .* - mp4 \\(\\*.mp4\\)"));
    EXPECT_THAT(outcome.output, ContainsRegex("\\.A wav "));
}

TEST(CodecsVerb, ListsEncodersAndDecodersApart) {
    EXPECT_THAT(run_qmio({"codecs"}).output, ContainsRegex("libx264 +video encoder"));
    const std::string encoders = run_qmio({"codecs", "--encoders"}).output;
    EXPECT_THAT(encoders, ContainsRegex("libx264 +video encoder"));
    EXPECT_THAT(encoders, Not(HasSubstr("decoder")));
    const std::string decoders = run_qmio({"codecs", "--decoders"}).output;
    EXPECT_THAT(decoders, ContainsRegex("h264 +video decoder"));
    EXPECT_THAT(decoders, Not(HasSubstr("encoder")));
}

TEST(PixelFormatsVerb, ListsThemByTheNumbersOfTheInterface) {
    const std::string output = run_qmio({"pixfmts"}).output;
    EXPECT_THAT(output, ContainsRegex("  0 +yuv420p: Planar YUV 4:2:0"));
    EXPECT_THAT(output, ContainsRegex("  30 +bgra: "));
}

TEST(TimecodeVerb, CountsHoursMinutesSecondsAndFrames) {
    EXPECT_EQ(run_qmio({"timecode", made("plain.mp4"), "--at", "90061"}).output, "01:00:02:11\n");
    EXPECT_EQ(run_qmio({"timecode", made("tone.wav"), "--at", "1"}).exit_code, 1);
}

TEST(InfoVerb, TellsEverythingAsJson) {
    const Outcome outcome = run_qmio({"info", "--json", made("two_audio_tracks.mp4")});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output, HasSubstr("\"nvideo\": 1"));
    EXPECT_THAT(outcome.output, HasSubstr("\"naudio\": 2"));
    EXPECT_THAT(outcome.output, HasSubstr("\"ver\": \"3.2.2\""));
    EXPECT_THAT(outcome.output, HasSubstr("\"frame_rate\": \"25/1\""));
    const auto count = [&](char letter) { return std::count(outcome.output.begin(), outcome.output.end(), letter); };
    EXPECT_EQ(count('{'), count('}'));
    EXPECT_EQ(count('['), count(']'));
    EXPECT_EQ(count('"') % 2, 0);
}

}  // namespace
}  // namespace qmio::test
