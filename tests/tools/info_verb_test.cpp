#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "support/parameter_keys.h"
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

using Keys = std::set<std::string>;

Keys together(std::initializer_list<std::vector<std::string>> lists) {
    Keys keys;
    for (const auto& list : lists)
        keys.insert(list.begin(), list.end());
    return keys;
}

// The names of the members within each member of the whole, of which the output has one a line.
std::map<std::string, Keys> keys_of(const std::string& json) {
    static const std::regex outer("^  \"(\\w+)\":.*");
    static const std::regex inner("^    +\"(\\w+)\":.*");
    std::map<std::string, Keys> keys;
    std::string member;
    std::istringstream lines(json);
    std::smatch found;
    for (std::string line; std::getline(lines, line);) {
        if (std::regex_match(line, found, outer))
            member = found[1];
        else if (std::regex_match(line, found, inner))
            keys[member].insert(found[1]);
    }
    return keys;
}

TEST(InfoVerb, AsJsonTellsEveryKeyOfTheInterface) {
    const Outcome outcome = run_qmio({"info", "--json", made("two_audio_tracks.mp4")});
    EXPECT_EQ(outcome.exit_code, 0);
    const std::map<std::string, Keys> expected = {
        {"info", together({kTextKeys, {"ver", "build"}})},
        {"file", together({kFileKeys, kSharedKeys})},
        {"stream", together({kStreamKeys, {"gop"}})},  // without "set_gop", which changes something
        {"tracks", together({kTrackKeys})},
        {"times", together({kTimeKeys})},
    };
    EXPECT_EQ(keys_of(outcome.output), expected);
}

}  // namespace
}  // namespace qmio::test
