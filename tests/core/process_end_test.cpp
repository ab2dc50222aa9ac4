// Processes that end while threads of theirs are inside the library.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <future>
#include <optional>
#include <string>

#include "support/dynamic_library.h"
#include "support/media.h"
#include "support/process.h"
#include "support/seed.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::test;

// A few of the moments at which a process may end; QMIO_SWEEP=all tries more.
int run_count() {
    return runs_whole_sweep() ? 200 : 12;
}

int lines_with(const std::filesystem::path& file, const std::string& text) {
    int count = 0;
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);)
        count += line.find(text) != line.npos;
    return count;
}

// Far above what an end takes on a loaded machine.
constexpr auto kForEver = std::chrono::seconds(60);

// Wine ends the threads of a process wherever they are. One that is just inside the spin lock of its wait queues
// (RtlWakeAddressSingle) leaves that locked, and the last thread, which has a critical section of the C runtime to leave,
// spins before it for ever: once in some thousand ends on a loaded machine, whatever the library does.
constexpr int kEndsThatWineMayMiss = 2;

// Nothing when the program had to be killed.
std::optional<int> exit_code_in_time(Process& process) {
    std::promise<void> ended;
    auto killing = std::async(std::launch::async, [&process, end = ended.get_future()] {
        const bool killed = end.wait_for(kForEver) == std::future_status::timeout;
        if (killed)
            process.kill();
        return killed;
    });
    const int code = process.wait();
    ended.set_value();
    return killing.get() ? std::nullopt : std::optional(code);
}

class ProcessEnd : public testing::Test {
  protected:
    ProcessEnd() {
        std::filesystem::copy_file(path_of(QMIO_LIBRARY_FILE), library_);
        auto configuration = library_;
        std::ofstream(configuration.replace_extension(".cfx"))
            << "<library><trace><open>1</open></trace><log_file>" << utf8(log_) << "</log_file></library>";
    }

    Process start(const std::string& host, const std::string& ending, int calls) const {
        return Process(host_program(host),
                       {ending, std::to_string(calls), utf8(media_path("small_h264_aac.mp4")), utf8(folder_.path()),
                        utf8(library_)},
                       {{"QMIO_LOG", utf8(log_)}});
    }

    void expect_quiet_ends(const std::string& host, const std::string& ending) const {
        int missed = runs_under_wine() ? kEndsThatWineMayMiss : 0;
        for (int run = 0; run < run_count(); ++run) {
            Process process = start(host, ending, 1 + run % 7);
            const std::optional<int> code = exit_code_in_time(process);
            if (!code && missed-- > 0)
                continue;
            ASSERT_EQ(code, 0) << "run " << run;
        }
    }

    const TempDir folder_;
    const std::filesystem::path library_ = folder_ / library_file_name("qmio");
    const std::filesystem::path log_ = folder_ / "ending.log";
};

TEST_F(ProcessEnd, IsQuietForAHostThatIsLinked) {
    expect_quiet_ends("ending_linked_host", "return");
}

TEST_F(ProcessEnd, IsQuietForAHostThatIsLinkedAndExitsInAnyThread) {
    expect_quiet_ends("ending_linked_host", "exit");
}

TEST_F(ProcessEnd, IsQuietForAHostThatLoads) {
    expect_quiet_ends("ending_host", "return");
}

TEST_F(ProcessEnd, IsQuietForAHostThatLoadsAndExitsInAnyThread) {
    expect_quiet_ends("ending_host", "exit");
}

TEST_F(ProcessEnd, IsQuietForAHostThatUnloadsAtTheVeryEnd) {
#ifdef _WIN32
    GTEST_SKIP() << "the code of a library that was freed is gone, whoever is inside";
#endif
    expect_quiet_ends("ending_host", "unload");
}

TEST_F(ProcessEnd, LeavesTheWholeLog) {
    Process process = start("ending_host", "return", 10);
    const int opened = std::stoi(process.read_line().value_or("0"));
    EXPECT_GE(opened, 40);
    exit_code_in_time(process);
    EXPECT_GE(lines_with(log_, "on exit: spent"), opened);
}

}  // namespace
