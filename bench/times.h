// Collects the times of every repetition of every benchmark.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace bench {

// Seconds of one benchmark.
struct Times {
    double clock() const;
    double processor() const;

    std::vector<double> clock_rounds;
    std::vector<double> processor_rounds;
};

class TimesReporter : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    bool failed() const { return failed_; }

    // Null when it has not run.
    const Times* find(const std::string& benchmark) const;

  private:
    std::map<std::string, Times> times_;
    bool failed_ = false;
};

}  // namespace bench
