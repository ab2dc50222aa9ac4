#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/command_line.h"

namespace qmio::test {
namespace {

using testing::HasSubstr;

// Making a video encoder says what it found no use for.
Outcome make(const TempDir& folder, const Arguments& before, const Arguments& behind) {
    Arguments arguments = before;
    for (const std::string& argument : {std::string("make"), utf8(folder / "made.avi"), std::string("vcodec=mpeg4"),
                                        std::string("--frames"), std::string("3"), std::string("--force")})
        arguments.push_back(argument);
    arguments.insert(arguments.end(), behind.begin(), behind.end());
    return run_qmio(arguments);
}

TEST(QuietHost, WritesNothingToStandardErrorWhenAllGoesWell) {
    const TempDir folder;
    EXPECT_NE(make(folder, {}, {}).error_text, "");
    for (const Outcome& outcome : {make(folder, {"--quiet"}, {}), make(folder, {}, {"-q"})}) {
        EXPECT_EQ(outcome.exit_code, 0);
        EXPECT_EQ(outcome.error_text, "");
    }
}

TEST(QuietHost, DoesNotTellWhatIsNotKept) {
    const TempDir folder;
    const Arguments convert = {"convert", made("plain.mp4"), utf8(folder / "gray.avi"),
                               "vcodec=ffv1,timecode=10:00:00:00", "--force"};
    EXPECT_THAT(run_qmio(convert).error_text, HasSubstr("qmio: "));
    Arguments quietly = convert;
    quietly.push_back("--quiet");
    EXPECT_EQ(run_qmio(quietly).error_text, "");
}

TEST(QuietHost, StillTellsFailuresAndResults) {
    EXPECT_THAT(run_qmio({"--quiet", "info", "absent.mp4"}).error_text, HasSubstr("qmio: cannot open absent.mp4"));
    EXPECT_THAT(run_qmio({"--quiet", "info", made("plain.mp4")}).output, HasSubstr("h264"));
}

}  // namespace
}  // namespace qmio::test
