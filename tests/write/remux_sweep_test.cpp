// Files of all kinds carried from container to container, and the pictures that the ffmpeg program decodes from each copy
// held against those of the original: a few files by a seed that is printed (QMIO_TEST_SEED sets it), all of them with
// QMIO_SWEEP=all (ten minutes of a processor).
// What a container refuses, the ffmpeg program has to be refused as well; where the pictures of a copy differ for a reason
// of the container's, the reason stands below, and the ffmpeg program's copy has to differ just so.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "support/media.h"
#include "support/probe.h"
#include "support/remuxing.h"
#include "support/seed.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr unsigned kSeed = 12;
constexpr int kFiles = 5;  // of each folder, in a short run

struct Step {
    std::string name;       // also the file's
    std::string container;  // FFmpeg's name
};
using Chain = std::vector<Step>;

const Chain kAround = {{"1.mp4", "mp4"}, {"2.mkv", "matroska"}, {"3.ts", "mpegts"}, {"4.mp4", "mp4"}};
const Chain kIntoAvi = {{"1.mov", "mov"}, {"2.avi", "avi"}};
const Chain kOutOfMxf = {{"1.mxf", "mxf"}, {"2.mov", "mov"}};

struct Excuse {
    const char* file;
    std::set<std::string> steps;
    const char* reason;
};

constexpr const char* kNoType = "MPEG-TS has no type for the codec: it comes back as data";
constexpr const char* kNoEditList = "the container has no edit lists: the pictures that one hides are shown";
const Excuse kExcuses[] = {
    {"libjpeg-turbo-monkey16.png", {"3.ts"}, kNoType},
    {"libjpeg-turbo-testorig.jpg", {"3.ts"}, kNoType},
    {"torchcodec-corrupt.jpg", {"3.ts"}, kNoType},
    {"media-bear-vp9-odd-dimensions.webm", {"3.ts"}, kNoType},
    {"testdata-big_buck_bunny_180_10s.webm", {"3.ts"}, kNoType},
    {"mjpeg.avi", {"3.ts"}, kNoType},
    {"odd_161x121.webm", {"3.ts"}, kNoType},
    {"png.mkv", {"3.ts"}, kNoType},
    {"still.jpg", {"3.ts"}, kNoType},
    {"still.png", {"3.ts"}, kNoType},
    {"still_alpha.png", {"3.ts"}, kNoType},
    {"vp9_alt_ref.webm", {"3.ts"}, kNoType},
    {"live_mpeg4.mkv", {"3.ts"}, "MPEG-TS has no place for the headers that Matroska keeps apart"},
    {"mmaction2-test.avi", {"3.ts", "4.mp4"}, "two pictures in one packet, which the parser of MPEG-TS takes apart"},
    {"edit_list.mp4", {"2.mkv", "3.ts", "4.mp4", "2.avi"}, kNoEditList},
    {"mp4parser-count-video.mp4", {"4.mp4"}, "the last picture's dts lies behind its pts in MPEG-TS"},
    {"pillow-dispose_bgnd.gif", {"2.avi"}, "AVI does not tell partial pictures of GIF from whole ones"},
    {"no_average_rate.asf", {"1.mov"}, "the only packet has no length, which MOV takes for nothing to show"},
    {"zero_padding.nut", {"1.mov", "2.avi"}, "raw pictures with rows that MOV lays out otherwise"},
    {"gstreamer-test.avi", {"1.mov"}, "MOV has no name for raw pictures of this format"},
};

// The same pictures, but not as long from the first to the last.
const Excuse kOtherTimes[] = {
    {"streamio-ffmpeg-weird_aspect.small.mpg",
     {"2.avi"},
     "cut in an open GOP: its first pictures come before the key frame"},
    {"media-edit_list_positive_shift.mp4",
     {"2.avi"},
     "AVI tells no start: the first picture is shown until the second"},
    {"fate-samples-hcaff1_hhi.264",
     {"1.mp4", "2.mkv", "3.ts", "4.mp4", "1.mov", "2.avi", "1.mxf", "2.mov"},
     "fields and pictures without times, told apart by the decoder alone"},
};

// What the ffmpeg program is not refused.
const Excuse kRefused[] = {
    {"starts_inside_gop.ts", {"1.mxf"}, "MXF wants a key frame first, and the program leaves out what comes before it"},
};

template <std::size_t Count>
const Excuse* excuse_of(const Excuse (&excuses)[Count], const std::string& file, const Step& step) {
    for (const Excuse& excuse : excuses)
        if (excuse.file == file && excuse.steps.contains(step.name))
            return &excuse;
    return nullptr;
}

using Files = std::vector<std::filesystem::path>;

// A list of its pictures lies beside it.
bool has_video(const std::filesystem::path& file) {
    return std::filesystem::exists(path_of(utf8(file) + ".frames"));
}

Files made_files() {
    Files files;
    for (const auto& entry : std::filesystem::directory_iterator(media_path("plain.mp4").parent_path()))
        if (entry.is_regular_file() && has_video(entry.path()))
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

Files real_videos() {
    Files files;
    for (const RealFile& file : real_files())
        if (file.has_video && file.opens && file.decoded > 0)
            files.push_back(real_media(file.name));
    return files;
}

Files drawn(Files files, Dice& dice) {
    Files some;
    for (int count = 0; count < kFiles && !files.empty(); ++count) {
        const auto place = dice.number() % files.size();
        some.push_back(files[place]);
        files.erase(files.begin() + static_cast<std::ptrdiff_t>(place));
    }
    return some;
}

class Remuxed : public testing::Test {
  protected:
    void SetUp() override {
        if (!Probe::is_there())
            GTEST_SKIP() << "there is no ffmpeg program";
    }

    void carry_some(const Chain& chain) {
        Dice dice(printed_seed(kSeed));
        int steps = 0;
        for (const Files& files : {made_files(), real_videos()})
            for (const auto& file : runs_whole_sweep() ? files : drawn(files, dice))
                steps += carry(file, chain);
        EXPECT_GT(steps, 0) << "no copy was compared";
    }

  private:
    // From one container into the next as long as they take it; how many did.
    int carry(const std::filesystem::path& original, const Chain& chain) {
        const ProgramFrames expected = program_frames(original);
        std::filesystem::path from = original;
        int steps = 0;
        for (const Step& step : chain) {
            SCOPED_TRACE(utf8(original.filename()) + " into " + step.name);
            const std::filesystem::path to = folder_ / step.name;
            if (file_param(open_media(from), "nvideo") < 1)
                break;  // for an excuse below
            if (!remux(from, to, "fmt=" + step.container)) {
                const bool is_excused = excuse_of(kRefused, utf8(original.filename()), step) != nullptr;
                EXPECT_EQ(remux_by_program(from, folder_ / "theirs", step.container), is_excused);
                break;
            }
            compare(expected, from, to, step, utf8(original.filename()));
            from = to;
            ++steps;
        }
        return steps;
    }

    void compare(const ProgramFrames& expected, const std::filesystem::path& from, const std::filesystem::path& to,
                 const Step& step, const std::string& name) {
        const ProgramFrames copied = program_frames(to);
        if (const Excuse* const excuse = excuse_of(kExcuses, name, step)) {
            EXPECT_NE(copied.hashes, expected.hashes) << "needs no excuse: " << excuse->reason;
            remux_by_program(from, folder_ / "theirs", step.container);
            EXPECT_EQ(copied.hashes, program_frames(folder_ / "theirs").hashes) << excuse->reason;
            return;
        }
        EXPECT_TRUE(copied.hashes == expected.hashes)
            << copied.hashes.size() << " pictures of " << expected.hashes.size();
        // AVI tells when pictures are decoded, in halves of their length; Matroska tells milliseconds.
        const double tolerance = step.container == "avi" ? 0.1 : 0.004;
        const bool is_told = expected.seconds > 0;  // not by raw streams
        if (is_told && excuse_of(kOtherTimes, name, step) == nullptr) {
            EXPECT_NEAR(copied.seconds, expected.seconds, tolerance);
        }
        EXPECT_TRUE(copied.complaints.empty() || !expected.complaints.empty()) << copied.complaints;
    }

    TempDir folder_;
};

TEST_F(Remuxed, FromMp4ToMatroskaToTransportStreamToMp4HoldsTheSamePictures) {
    carry_some(kAround);
}

TEST_F(Remuxed, FromMovToAviHoldsTheSamePictures) {
    carry_some(kIntoAvi);
}

TEST_F(Remuxed, FromMxfToMovHoldsTheSamePictures) {
    carry_some(kOutOfMxf);
}

TEST(RemuxedExcuses, NameFilesThatThereAre) {
    if (real_files().empty())
        GTEST_SKIP() << "no folder of real media";
    for (const Excuse& excuse : kExcuses)
        EXPECT_TRUE(std::filesystem::exists(media_path(excuse.file)) ||
                    std::filesystem::exists(real_media(excuse.file)))
            << excuse.file;
}

}  // namespace
}  // namespace qmio::test
