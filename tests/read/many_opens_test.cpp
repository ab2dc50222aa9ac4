// Opens and closes, again and again and many at once: memory stays where it was after the first, and nothing else is left.
// A few hundred in every run, 10,000 of each with QMIO_SWEEP=all.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <fstream>
#include <functional>
#include <thread>

#include "support/media.h"
#include "support/open_media.h"
#include "support/seed.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

// The sanitizers keep freed memory for a while.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryTells = false;
#else
constexpr bool kMemoryTells = true;
#endif

constexpr int kFirstRounds = 100;

struct Use {
    int64_t pages = 0;  // of memory that is resident
    std::ptrdiff_t descriptors = 0;
    std::ptrdiff_t threads = 0;
};

Use use() {
    Use now;
    int64_t whole = 0;
    std::ifstream("/proc/self/statm") >> whole >> now.pages;
    now.descriptors = open_descriptors().value_or(-1);
    now.threads = std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
    return now;
}

class ManyOpens : public testing::Test {
  protected:
    static int rounds() { return runs_whole_sweep() ? 10000 : 400; }

    static void expect_flat(int rounds, const std::function<void(int)>& round) {
        for (int number = 0; number < kFirstRounds; ++number)
            round(number);
        const Use before = use();
        for (int number = kFirstRounds; number < rounds; ++number)
            round(number);
        const Use after = use();
        EXPECT_EQ(after.descriptors, before.descriptors);
        EXPECT_EQ(after.threads, before.threads);
        if (kMemoryTells) {
            EXPECT_LE(after.pages * 100, before.pages * 101);
        }
        std::cout << rounds << " rounds: " << before.pages << " pages after " << kFirstRounds << ", " << after.pages
                  << " in the end; " << after.descriptors << " descriptors, " << after.threads << " threads\n";
    }

    static void open_and_read(const std::filesystem::path& path, const std::string& options) {
        const Media media = open_media(utf8(path), options);
        ASSERT_TRUE(media);
        Bytes picture = picture_buffer(media);
        for (int count = 0; count < 5; ++count)
            EXPECT_GT(qmio_read_frame(media.get(), picture.data()), 1);
    }

    const std::filesystem::path film_ = media_path("small_h264_aac.mp4");
};

TEST_F(ManyOpens, OnOneThreadLeaveNothing) {
    expect_flat(rounds(), [&](int) { open_and_read(film_, "threads=1"); });
}

TEST_F(ManyOpens, OnFourThreadsLeaveNothing) {
    expect_flat(rounds(), [&](int) { open_and_read(film_, "threads=4"); });
}

TEST_F(ManyOpens, ThatFailLeaveNothing) {
    const TempDir folder;
    Bytes bytes = read_bytes(film_);
    bytes.resize(bytes.size() / 3);
    write_bytes(folder / "cut.mp4", bytes);
    write_bytes(folder / "empty.mp4", {});
    const std::string names[] = {utf8(folder / "missing.mp4"), utf8(folder / "cut.mp4"),
                                 utf8(folder / "empty.mp4"),   "mem:nothing",
                                 "tcp://127.0.0.1:1/x",        utf8(film_)};
    expect_flat(rounds(), [&](int number) {
        const std::string& name = names[static_cast<std::size_t>(number) % std::size(names)];
        EXPECT_FALSE(open_media(name, name == utf8(film_) ? "cancel=no number" : "threads=1")) << name;
    });
}

TEST_F(ManyOpens, AtOnceMayBeClosedByAnotherThread) {
    const int handles = runs_whole_sweep() ? 1000 : 200;
    rlimit files{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &files), 0);
    files.rlim_cur = files.rlim_max;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &files), 0);
    const Use before = use();
    for (int round = 0; round < 2; ++round) {
        std::vector<Media> open;
        for (int number = 0; number < handles; ++number) {
            open.push_back(open_media(utf8(film_), "threads=1"));
            ASSERT_TRUE(open.back()) << number;
            ASSERT_GT(next_picture(open.back()).result, 1);
        }
        std::thread([&] { open.clear(); }).join();
        const Use after = use();
        EXPECT_EQ(after.descriptors, before.descriptors);
        EXPECT_EQ(after.threads, before.threads);
    }
}

}  // namespace
}  // namespace qmio::test
