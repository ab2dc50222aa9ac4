// qmio convert over real files: what a lossless copy holds, told by ffprobe. A sample in every run, by a seed that is
// printed, all files with QMIO_SWEEP=all.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "support/probe.h"
#include "support/seed.h"
#include "tools/command_line.h"

namespace qmio::test {
namespace {

std::vector<RealFile> drawn_files() {
    std::vector<RealFile> files = real_files();
    std::erase_if(files, [](const RealFile& file) { return !file.opens || file.damaged; });
    if (runs_whole_sweep())
        return files;
    Dice dice(printed_seed(5));
    while (files.size() > static_cast<std::size_t>(sample_size(6)))
        files.erase(files.begin() + (dice.up_to(static_cast<int>(files.size())) - 1));
    return files;
}

// The number of the first stream of a kind, or -1.
int first_of(const Probe& probe, const std::string& kind) {
    for (int stream = 0; stream < 64; ++stream)
        if (probe["stream." + std::to_string(stream) + ".codec_type"] == kind)
            return stream;
    return -1;
}

int count_of(const Probe& probe, const std::string& kind) {
    int count = 0;
    for (const auto& [key, value] : probe.values())
        count += key.ends_with(".codec_type") && value == kind ? 1 : 0;
    return count;
}

std::string of(const Probe& probe, int stream, const std::string& key) {
    return probe["stream." + std::to_string(stream) + "." + key];
}

void compare_pictures(const Probe& before, const Probe& after, const std::string& said) {
    const int from = first_of(before, "video");
    const int to = first_of(after, "video");
    const bool is_turned = of(before, from, "side_data_list.0.rotation").find("90") != std::string::npos;
    EXPECT_EQ(of(after, to, "width"), of(before, from, is_turned ? "height" : "width"));
    EXPECT_EQ(of(after, to, "height"), of(before, from, is_turned ? "width" : "height"));
    for (const char* key : {"color_primaries", "color_transfer"}) {
        const std::string had = of(before, from, key);
        const bool is_told = !had.empty() && had != "unknown";
        EXPECT_TRUE(!is_told || of(after, to, key) == had || said.find(key) != std::string::npos) << key;
    }
    const bool is_even = said.find("constant rate") == std::string::npos && said.find("begin") == std::string::npos;
    // A picture may stand for a moment before its time, so that no sound is lost that begins earlier.
    const int more = after.packets(to) - before.frames(from);
    EXPECT_TRUE(!is_even || more == 0 || more == 1) << more << ' ' << said;
}

void compare_sound(const Probe& before, const Probe& after) {
    const int from = first_of(before, "audio");
    const int to = first_of(after, "audio");
    EXPECT_EQ(of(after, to, "channels"), of(before, from, "channels"));
    EXPECT_EQ(of(after, to, "sample_rate"), of(before, from, "sample_rate"));
    EXPECT_EQ(count_of(after, "audio"), std::min(count_of(before, "audio"), 16));
}

double number_of(const std::string& text) {
    return text.empty() || text == "N/A" ? 0 : std::stod(text);
}

// From the first time of a packet of the first video or any sound to the end of the last, in seconds: what containers tell of
// their length is sometimes false.
double length_of(const std::filesystem::path& path) {
    double first = 0;
    double last = 0;
    for (const char* streams : {"v:0", "a"}) {
        const Outcome outcome = run("ffprobe", {"-v", "quiet", "-select_streams", streams, "-show_entries",
                                                "packet=pts_time,duration_time", "-of", "csv=p=0", utf8(path)});
        std::istringstream lines(outcome.output);
        for (std::string line; std::getline(lines, line);) {
            const std::size_t comma = line.find(',');
            if (comma == std::string::npos || comma == 0)  // of a packet's side data
                continue;
            const double begin = number_of(line.substr(0, comma));
            first = last == 0 ? begin : std::min(first, begin);
            last = std::max(last, begin + number_of(line.substr(comma + 1)));
        }
    }
    return last - first;
}

class ConvertedRealFile : public testing::TestWithParam<RealFile> {};

TEST_P(ConvertedRealFile, HasItsPicturesItsSoundAndItsLength) {
    if (!Probe::is_there())
        GTEST_SKIP() << "asks ffprobe, a program of the Linux system";
    const TempDir folder;
    const std::filesystem::path in = real_media(GetParam().name);
    const Probe before(in);
    const bool has_video = GetParam().has_video && GetParam().decoded > 0;
    const bool has_audio = first_of(before, "audio") >= 0;
    if (!has_video && !has_audio)
        GTEST_SKIP() << "holds neither pictures nor sound";
    const std::string pictures = has_video ? "vcodec=ffv1," : "";
    const std::string options = pictures + (has_audio ? "acodec=pcm_s16le" : "");
    const Outcome outcome = run_qmio({"convert", utf8(in), utf8(folder / "out.mkv"), options});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.error_text;
    const Probe after(folder / "out.mkv");
    EXPECT_EQ(after.complaints(), "");
    if (has_video)
        compare_pictures(before, after, outcome.error_text);
    if (has_audio && outcome.error_text.find("cannot be decoded") == std::string::npos)
        compare_sound(before, after);
    // Of bare streams packets tell no times.
    const double had = length_of(in);
    const double has = length_of(folder / "out.mkv");
    EXPECT_NEAR(has, had > 0.5 ? had : has, 0.5);
}

INSTANTIATE_TEST_SUITE_P(Media, ConvertedRealFile, testing::ValuesIn(drawn_files()),
                         [](const auto& tested) { return test_name(tested.param.name); });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ConvertedRealFile);

TEST(ConvertedRealFiles, AreThere) {
    if (real_files().empty())
        GTEST_SKIP() << "there is no folder of real media";
}

}  // namespace
}  // namespace qmio::test
