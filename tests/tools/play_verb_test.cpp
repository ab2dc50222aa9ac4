#include <gtest/gtest.h>

#include <sstream>

#include "tools/command_line.h"

namespace qmio::test {
namespace {

// The numbers of the pictures, -1 for a sync point.
std::vector<int> sequence(const std::string& text) {
    std::vector<int> numbers;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (line.rfind("picture ", 0) == 0)
            numbers.push_back(std::stoi(line.substr(8)));
        else if (line == "sync point")
            numbers.push_back(-1);
    return numbers;
}

TEST(PlayVerb, DumpsPicturesAndSyncPointsInTheirOrder) {
    const Outcome outcome = run_qmio({"play", made("mjpeg.avi"), "--in", "10", "--out", "20", "--loop-in", "12",
                                      "--loop-out", "14", "--loops", "3", "--dump"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
    const std::vector<int> expected{10, 11, 12, 13, 14, -1, 12, 13, 14, -1, 12, 13, 14, 15, 16, 17, 18, 19, 20};
    EXPECT_EQ(sequence(outcome.output), expected);
}

TEST(PlayVerb, TellsTheRateWithoutDump) {
    const Outcome outcome = run_qmio({"play", made("plain.mp4"), "--out", "20"});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
    EXPECT_NE(outcome.output.find("21 pictures in 1 pass, "), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find("pictures a second"), std::string::npos);
}

TEST(PlayVerb, PlaysSoundAlone) {
    const Outcome outcome = run_qmio({"play", made("tone.wav")});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
    EXPECT_EQ(outcome.output.rfind("0 pictures in 1 pass, ", 0), 0U) << outcome.output;
}

}  // namespace
}  // namespace qmio::test
