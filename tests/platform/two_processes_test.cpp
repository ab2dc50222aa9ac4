// What the library of one process shares with that of another: the right to open a codec, and where frames begin.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <mutex>

#include "core/process/settings.h"
#include "platform/named_mutex.h"
#include "support/dynamic_library.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::test;
using qmio::platform::NamedMutex;

// A process with a copy of the library, which writes what it does into its log.
class LibraryHost {
  public:
    explicit LibraryHost(const std::filesystem::path& folder)
        : library_(folder / library_file_name("qmio")),
          log_(folder / "open.log"),
          process_(host_program("config_host")) {
        if (std::filesystem::create_directory(folder))
            std::filesystem::copy_file(path_of(QMIO_LIBRARY), library_);
        std::ofstream(path_of(configuration()))
            << "<library><trace><open>1</open></trace><log_file>" << utf8(log_) << "</log_file></library>";
        order("load " + utf8(library_));
        EXPECT_EQ(answer(), "loaded");
    }

    void order(const std::string& command) { process_.write_line(command); }
    std::string answer() { return process_.read_line().value_or("the host has ended"); }

    std::string mutex_name() const { return qmio::codec_mutex_name(configuration()); }
    bool has_opened() const {
        const Bytes log = read_bytes(log_);
        return std::string(log.begin(), log.end()).find("on exit") != std::string::npos;
    }

  private:
    std::string configuration() const { return qmio::configuration_path(utf8(library_)); }

    std::filesystem::path library_, log_;
    Process process_;
};

TEST(TwoProcesses, OpenNoCodecWhileAnotherHasTheMutexOfTheSameLibrary) {
    const TempDir folder;
    const std::string open = "open " + utf8(media_path("small_h264_aac.mp4"));
    LibraryHost waiting(folder / "library");
    LibraryHost free(folder / "another library");
    const auto mutex = NamedMutex::open(waiting.mutex_name());
    ASSERT_TRUE(mutex);
    {
        const std::lock_guard inside(*mutex);
        waiting.order(open);
        // Time enough for the one that waits: the other does the same from beginning to end, and more than once.
        for (int round = 0; round < 10; ++round) {
            free.order(open);
            EXPECT_EQ(free.answer(), "opened");
        }
        EXPECT_TRUE(free.has_opened());
        EXPECT_FALSE(waiting.has_opened());
    }
    EXPECT_EQ(waiting.answer(), "opened");
    EXPECT_TRUE(waiting.has_opened());
}

TEST(TwoProcesses, OpenCodecsAfterOneWasKilledThatHadTheMutex) {
    const TempDir folder;
    LibraryHost host(folder / "library");
    Process victim(host_program("mutex_holder"), {host.mutex_name()});
    victim.write_line("lock");
    ASSERT_EQ(victim.read_line(), "locked");
    host.order("open " + utf8(media_path("small_h264_aac.mp4")));
    victim.kill();
    EXPECT_EQ(host.answer(), "opened");
}

class FrameIndexOfAnotherProcess : public testing::Test {
  protected:
    void SetUp() override { std::filesystem::copy_file(media_path("intra_mpeg2.ts"), path_); }

    std::string slashed_name() const {
        std::string name = utf8(path_);
        std::replace(name.begin(), name.end(), '\\', '/');
        return name;
    }

    void tell_writer(const std::string& order) {
        writer_.write_line(order);
        EXPECT_EQ(writer_.read_line(), "ok") << order;
    }

    TempDir folder_;
    std::filesystem::path path_ = folder_ / "being written.ts";
    Process writer_{host_program("mapping_user"), {slashed_name()}};
};

TEST_F(FrameIndexOfAnotherProcess, TellsHowFarTheFileCanBeRead) {
    tell_writer("create 17280000");
    tell_writer("put 0 10");
    const Media media = open_media(path_);
    ASSERT_TRUE(media);
    EXPECT_EQ(qmio_seek_frame(media.get(), 50), 9);
    tell_writer("put 0 60");
    EXPECT_EQ(qmio_seek_frame(media.get(), 50), 50);
    EXPECT_EQ(qmio_seek_frame(media.get(), 80), 59);
}

TEST_F(FrameIndexOfAnotherProcess, IsNotUsedOnceItsWriterIsGone) {
    tell_writer("create 17280000");
    tell_writer("put 0 10");
    writer_.kill();
    writer_.wait();
    const Media media = open_media(path_);
    ASSERT_TRUE(media);
    EXPECT_EQ(qmio_seek_frame(media.get(), 50), 50);
}

}  // namespace
