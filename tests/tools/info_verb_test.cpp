#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
    EXPECT_THAT(outcome.output, ContainsRegex("frames +150"));
    EXPECT_THAT(outcome.output, ContainsRegex("audio tracks +0"));
    EXPECT_THAT(outcome.output, Not(HasSubstr("track 0")));
}

TEST(InfoVerb, ListsEveryAudioTrack) {
    const Outcome outcome = run_qmio({"info", made("two_audio_tracks.mp4")});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output, ContainsRegex("audio tracks +2"));
    EXPECT_THAT(outcome.output, ContainsRegex("track 0 +44100 Hz, 1 channel"));
    EXPECT_THAT(outcome.output, ContainsRegex("track 1 +44100 Hz, 1 channel"));
    EXPECT_THAT(outcome.output, Not(HasSubstr("track 2")));
}

TEST(InfoVerb, SoundAloneHasADurationAndNoPictureSize) {
    const Outcome outcome = run_qmio({"info", made("tone.wav")});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output, ContainsRegex("video streams +0"));
    EXPECT_THAT(outcome.output, Not(HasSubstr("picture size")));
    EXPECT_THAT(outcome.output, ContainsRegex("audio duration +2000 ms"));
    EXPECT_THAT(outcome.output, ContainsRegex("track 0 +48000 Hz, 1 channel"));
}

TEST(InfoVerb, AStillPictureIsOneFrame) {
    const Outcome outcome = run_qmio({"info", made("still.png")});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output, ContainsRegex("picture size +161 x 121"));
    EXPECT_THAT(outcome.output, ContainsRegex("frames +1\n"));
}

}  // namespace
}  // namespace qmio::test
