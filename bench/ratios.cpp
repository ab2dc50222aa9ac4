#include "ratios.h"

#include <algorithm>
#include <cstdio>
#include <exception>

namespace bench {

namespace {

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        failed_ = failed_ || run.error_occurred;
        if (run.run_type != Run::RT_Iteration || run.error_occurred)
            continue;
        Times& times = times_[run.run_name.function_name];
        times.clock.push_back(run.real_accumulated_time / static_cast<double>(run.iterations));
        times.processor.push_back(run.cpu_accumulated_time / static_cast<double>(run.iterations));
    }
    ConsoleReporter::ReportRuns(runs);
}

std::optional<SpeedRatio> RatioReporter::speed_ratio(const std::string& ours, const std::string& plain) const {
    const auto our_times = times_.find(ours);
    const auto plain_times = times_.find(plain);
    if (our_times == times_.end() || plain_times == times_.end())
        return std::nullopt;
    return SpeedRatio{median(plain_times->second.clock) / median(our_times->second.clock),
                      median(plain_times->second.processor) / median(our_times->second.processor)};
}

std::vector<char*> initialize(int argc, char** argv) {
    std::string repeat = "--benchmark_repetitions=7";
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1, {repeat.data(), interleave.data()});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    return {arguments.begin() + 1, arguments.begin() + count};
}

int run_guarded(const char* program, int (*run)(int argc, char** argv), int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", program, error.what());
        return 1;
    }
}

}  // namespace bench
