// qmio formats, codecs, pixfmts, timecode.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "support/made_file.h"
#include "tools/command_line.h"

namespace qmio::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

#ifdef _WIN32
constexpr const char* kThisSystem = "**Windows alone**";
#else
constexpr const char* kThisSystem = "**Linux alone**";
#endif

using Names = std::set<std::string>;

// By kind, as in "video decoder".
std::map<std::string, Names> printed_codecs() {
    std::istringstream words(run_qmio({"codecs"}).output);
    std::map<std::string, Names> codecs;
    for (std::string name, medium, kind; words >> name >> medium >> kind;)
        codecs[medium + " " + kind].insert(name);
    return codecs;
}

// What the page has below the heading, of this system.
Names told_codecs(const std::string& page, const std::string& heading) {
    const std::regex quoted("`([^`]+)`");
    std::istringstream section(page.substr(page.find("\n## " + heading) + 1));
    std::string line;
    std::getline(section, line);
    Names names;
    while (std::getline(section, line) && line.rfind("## ", 0) != 0)
        if (line.rfind("**Linux and Windows**", 0) == 0 || line.rfind(kThisSystem, 0) == 0)
            for (std::sregex_iterator match(line.begin(), line.end(), quoted); match != std::sregex_iterator(); ++match)
                names.insert((*match)[1]);
    return names;
}

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

TEST(CodecsVerb, ListsWhatThePageOfCodecsTells) {
    const std::string page = content_of(path_of(QMIO_CODECS));
    if (page.find(QMIO_LIBAVCODEC) == page.npos)
        GTEST_SKIP() << "the page tells of another FFmpeg than that with " << QMIO_LIBAVCODEC;
    std::map<std::string, Names> codecs = printed_codecs();
    EXPECT_EQ(told_codecs(page, "Video that can be read"), codecs["video decoder"]);
    EXPECT_EQ(told_codecs(page, "Video that can be written"), codecs["video encoder"]);
    EXPECT_EQ(told_codecs(page, "Sound that can be read"), codecs["audio decoder"]);
    EXPECT_EQ(told_codecs(page, "Sound that can be written"), codecs["audio encoder"]);
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
