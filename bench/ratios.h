// Collects the time of every repetition while the console shows the usual table, and compares medians at the end.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace bench {

struct SpeedRatio {
    double by_clock;
    double by_processor;  // steadier on a machine that does other work meanwhile
};

class RatioReporter : public benchmark::ConsoleReporter {
  public:
    RatioReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override;

    bool failed() const { return failed_; }

    // How many times as fast as `plain` the benchmark `ours` is, by the medians of their repetitions; nothing when
    // one of the two has not run.
    std::optional<SpeedRatio> speed_ratio(const std::string& ours, const std::string& plain) const;

  private:
    // Seconds of one benchmark, one entry for each repetition.
    struct Times {
        std::vector<double> clock;
        std::vector<double> processor;
    };

    std::map<std::string, Times> times_;  // by the name of the benchmark
    bool failed_ = false;
};

// Starts Google Benchmark with repetitions of all benchmarks that take turns, so that whatever else the machine does
// strikes each of them alike. Returns what is left of the command line behind the program's name.
std::vector<char*> initialize(int argc, char** argv);

// The result of `run`; what it throws is told on standard error under the program's name and gives 1.
int run_guarded(const char* program, int (*run)(int argc, char** argv), int argc, char** argv);

}  // namespace bench
