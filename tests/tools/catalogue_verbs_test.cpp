// qmio formats, codecs, pixfmts, timecode.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/made_file.h"
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

TEST(TimecodeVerb, CountsFromTheTimeCodeOfTheFile) {
    const TempDir folder;
    ASSERT_TRUE(make_file(folder / "drop.mov", video_options("mov", "mpeg4", "r=30000/1001,timecode=00:59:59;20"), 3));
    EXPECT_EQ(run_qmio({"timecode", utf8(folder / "drop.mov"), "--at", "0"}).output, "00:59:59;20\n");
    EXPECT_EQ(run_qmio({"timecode", utf8(folder / "drop.mov"), "--at", "1810"}).output, "01:01:00;02\n");
}

}  // namespace
}  // namespace qmio::test
