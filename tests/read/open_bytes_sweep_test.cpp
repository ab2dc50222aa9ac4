// What every muxer of FFmpeg writes, opened by its name, in a block and through the host's calls: the same pictures and
// sound, in order and sought. A sample in every run, drawn by a seed that is printed (QMIO_TEST_SEED sets it); all of them
// with QMIO_SWEEP=all, one with its name. Left out: what no demuxer opens, and demuxers that open files themselves (image
// sequences, playlists).
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

#include "support/host_bytes.h"
#include "support/media.h"
#include "support/muxer_films.h"
#include "support/seed.h"
#include "support/temp_dir.h"
#include "support/what_is_read.h"

namespace qmio::test {
namespace {

constexpr unsigned kSeed = 20261123;
constexpr int kSampleSize = sample_size(6);

// The name that FFmpeg finds the demuxer by; empty for one that opens its source itself.
std::string demuxer_of(const Media& file) {
    const auto* const format = reinterpret_cast<const AVInputFormat*>(file_param(file, "fmt"));
    if (format == nullptr || (format->flags & AVFMT_NOFILE) != 0)
        return "";
    return {format->name, std::strcspn(format->name, ",")};
}

class OpenBytes : public testing::Test {
  protected:
    OpenBytes() { av_log_set_level(AV_LOG_QUIET); }

    void sweep_one(const AVOutputFormat& muxer) {
        const std::string film = film_for(muxer, path(), host_);
        if (film.empty() || host_.answer("262144\t" + path() + "\tPSPS\t" + film) != "made")
            return;
        SCOPED_TRACE(film);
        compare(path_of(path()));
    }

    void compare(const std::filesystem::path& file_path) {
        const Media file = open_on_one_thread(file_path);
        const std::string format = file != nullptr ? demuxer_of(file) : "";
        if (format.empty())
            return;
        ++compared_;
        HostBytes host;
        host.bytes = read_bytes(file_path);
        const std::string options = options_for(host.bytes, format);
        const WhatIsRead expected = what_is_read(file);
        expect_the_same(what_is_read(open_block(host.bytes, options)), expected, "block");
        expect_the_same(what_is_read(host.open(options)), expected, "calls");
    }

    void tell() const {
        std::cout << compared_ << " films, " << named_ << " of them by the demuxer's name" << std::endl;
    }
    std::string path() const { return utf8(folder_ / "film"); }

  private:
    static Media open_block(const Bytes& bytes, const std::string& options) {
        return Media(qmio_open_mem(bytes.data(), static_cast<int64_t>(bytes.size()), options.c_str()));
    }

    // Of the films that are known by their name alone the demuxer is told.
    std::string options_for(const Bytes& bytes, const std::string& format) {
        const Media unnamed = open_block(bytes, "threads=1");
        if (unnamed != nullptr && demuxer_of(unnamed) == format)
            return "threads=1";
        ++named_;
        return "threads=1,fmt=" + format;
    }

    static void expect_the_same(const WhatIsRead& read, const WhatIsRead& expected, const char* what) {
        EXPECT_EQ(read.numbers, expected.numbers) << what;
        EXPECT_EQ(read.pictures, expected.pictures) << what;
        EXPECT_EQ(read.sought, expected.sought) << what;
        EXPECT_TRUE(read.sound == expected.sound) << what;
        EXPECT_EQ(read.moved, expected.moved) << what;
    }

    TempDir folder_;
    CaseProcess host_{"creating_host"};
    int compared_ = 0;
    int named_ = 0;
};

TEST_F(OpenBytes, OfASampleOfContainersAreWhatTheFileIs) {
    Dice dice(printed_seed(kSeed));
    const auto all = file_muxers();
    for (int number = 0; number < kSampleSize; ++number)
        sweep_one(*dice.one_of(all));
    tell();
}

TEST_F(OpenBytes, OfTheUsualContainersAreWhatTheFileIs) {
    for (const char* name : {"mp4", "matroska", "avi", "mpegts"}) {
        const AVOutputFormat* const muxer = av_guess_format(name, nullptr, nullptr);
        ASSERT_NE(muxer, nullptr) << name;
        sweep_one(*muxer);
    }
    tell();
}

TEST_F(OpenBytes, OfEveryContainerAreWhatTheFileIs) {
    const char* const what = std::getenv("QMIO_SWEEP");
    if (what == nullptr)
        GTEST_SKIP() << "takes long: QMIO_SWEEP=all, or the name of a muxer";
    for (const AVOutputFormat* muxer : file_muxers())
        if (std::string("all") == what || name_of(*muxer) == what)
            sweep_one(*muxer);
    tell();
}

TEST_F(OpenBytes, OfRealMediaAreWhatTheFileIs) {
    if (real_files().empty())
        GTEST_SKIP() << "no folder of real media";
    Dice dice(printed_seed(kSeed));
    std::vector<RealFile> files = real_files();
    if (!runs_whole_sweep())
        files = {dice.one_of(files), dice.one_of(files), dice.one_of(files), dice.one_of(files)};
    for (const RealFile& file : files) {
        SCOPED_TRACE(file.name);
        compare(real_media(file.name));
    }
    tell();
}

}  // namespace
}  // namespace qmio::test
