// Processes that end while threads of theirs are inside the library.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "support/dynamic_library.h"
#include "support/media.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::test;

// A few of the moments at which a process may end; QMIO_SWEEP=all tries more.
int run_count() {
    const char* sweep = std::getenv("QMIO_SWEEP");
    return sweep != nullptr && std::string(sweep) == "all" ? 200 : 12;
}

int lines_with(const std::filesystem::path& file, const std::string& text) {
    int count = 0;
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);)
        count += line.find(text) != line.npos;
    return count;
}

class ProcessEnd : public testing::Test {
  protected:
    ProcessEnd() {
        std::filesystem::copy_file(path_of(QMIO_LIBRARY_FILE), library_);
        auto configuration = library_;
        std::ofstream(configuration.replace_extension(".cfx"))
            << "<library><trace><open>1</open></trace><log_file>" << utf8(log_) << "</log_file></library>";
    }

    Outcome run_once(const std::string& host, const std::string& ending, int calls) const {
        return run(host_program(host),
                   {ending, std::to_string(calls), utf8(media_path("small_h264_aac.mp4")), utf8(folder_.path()),
                    utf8(library_)},
                   {{"QMIO_LOG", utf8(log_)}});
    }

    void expect_quiet_ends(const std::string& host, const std::string& ending) const {
        for (int run = 0; run < run_count(); ++run)
            ASSERT_EQ(run_once(host, ending, 1 + run % 7).exit_code, 0) << "run " << run;
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
    const Outcome outcome = run_once("ending_host", "return", 10);
    EXPECT_GE(std::stoi(outcome.output), 40);
    EXPECT_GE(lines_with(log_, "on exit: spent"), std::stoi(outcome.output));
}

}  // namespace
