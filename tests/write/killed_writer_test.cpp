// Films whose writer is killed at any moment: what can be read of them afterwards.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "support/numbered_picture.h"
#include "support/open_media.h"
#include "support/process.h"
#include "support/seed.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kFlushedTogether = 5;  // pictures

// What the README tells of a container.
struct KilledFilm {
    const char* name;
    const char* options;
    int lost;  // of the pictures that were flushed, at the end; kAll: nothing can be read
};

void PrintTo(const KilledFilm& film, std::ostream* out) {
    *out << film.name;
}

constexpr int kAll = -1;

// One begins at the first key frame behind 4 KB.
constexpr int kLastCluster = 4 * kFlushedTogether;

constexpr KilledFilm kFilms[] = {
    {"mp4", "fmt=mp4,vcodec=mpeg4,g=5", kAll},
    {"fragmented_mp4", "fmt=mp4,vcodec=mpeg4,g=5,movflags=frag_keyframe+empty_moov", kFlushedTogether},
    {"mkv", "fmt=matroska,vcodec=mpeg4,g=5", kLastCluster},
    {"mov", "fmt=mov,vcodec=mpeg4,g=5", kAll},
    {"avi", "fmt=avi,vcodec=mpeg4,g=5", 0},
    {"ts", "fmt=mpegts,vcodec=mpeg2video,g=5,flags:v=+low_delay", 1},
    {"mxf", "fmt=mxf,vcodec=mpeg2video,g=5,flags:v=+low_delay", 0},
};

class KilledWriter : public testing::TestWithParam<KilledFilm> {
  protected:
    // Starts a writer, lets it flush some pictures and kills it in the middle of others. How many it told to be flushed.
    int write_and_kill(Dice& dice) const {
        Process host(host_program("writing_host"));
        host.write_line("film " + std::string(GetParam().options) + " " + utf8(path_));
        EXPECT_EQ(host.read_line(), "created");
        host.write_line("go " + std::to_string(kFlushedTogether));
        int flushed = 0;
        for (int answers = dice.up_to(12); answers > 0; --answers)
            flushed = std::stoi(host.read_line().value_or("0"));
        std::this_thread::sleep_for(std::chrono::microseconds(dice.up_to(4000)));
        host.kill();
        // What it told until then counts, too.
        for (auto line = host.read_line(); line; line = host.read_line())
            flushed = std::stoi(*line);
        host.wait();
        return flushed;
    }

    // The pictures that can be read, each of them the right one.
    int read() const {
        const Media media = open_on_one_thread(path_);
        if (!media)
            return 0;
        const int width = static_cast<int>(file_param(media, "width")),
                  height = static_cast<int>(file_param(media, "height"));
        const std::vector<Bytes> pictures = all_pictures(media, 10000);
        // A picture that was cut may come last, as far as it goes.
        for (std::size_t number = 0; number + 1 < pictures.size(); ++number)
            EXPECT_EQ(read_number(pictures[number].data(), width, height, width * 4), static_cast<int>(number));
        return static_cast<int>(pictures.size());
    }

    void expect_what_the_readme_tells(int flushed) const {
        const Clock::time_point begin = Clock::now();
        const int found = read();
        EXPECT_LT(Clock::now() - begin, std::chrono::seconds(30));
        if (GetParam().lost == kAll)
            EXPECT_EQ(found, 0);
        else
            EXPECT_GE(found, flushed - GetParam().lost);
        std::cout << flushed << " were flushed, " << found << " can be read\n";
    }

    TempDir folder_;
    std::filesystem::path path_ = folder_ / "film";
};

TEST_P(KilledWriter, LeavesWhatWasFlushed) {
    Dice dice(printed_seed(4711));
    const int kills = runs_whole_sweep() ? 100 : sample_size(5);
    for (int kill = 0; kill < kills && !HasFailure(); ++kill) {
        SCOPED_TRACE(kill);
        expect_what_the_readme_tells(write_and_kill(dice));
    }
}

INSTANTIATE_TEST_SUITE_P(Of, KilledWriter, testing::ValuesIn(kFilms),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace qmio::test
