#include "times.h"

#include <algorithm>
#include <cstdio>

namespace bench {

namespace {

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

double Times::clock() const {
    return median(clock_rounds);
}

double Times::processor() const {
    return median(processor_rounds);
}

bool TimesReporter::ReportContext(const Context& /*context*/) {
    return true;
}

// A line on standard error for each round, as a whole table takes long.
void TimesReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        const std::string& name = run.run_name.function_name;
        if (run.error_occurred)
            std::fprintf(stderr, "%s: %s\n", name.c_str(), run.error_message.c_str());
        failed_ = failed_ || run.error_occurred;
        if (run.run_type != Run::RT_Iteration || run.error_occurred)
            continue;
        Times& times = times_[name];
        times.clock_rounds.push_back(run.real_accumulated_time / static_cast<double>(run.iterations));
        times.processor_rounds.push_back(run.cpu_accumulated_time / static_cast<double>(run.iterations));
        std::fprintf(stderr, "%-60s %8.3f s\n", name.c_str(), times.clock_rounds.back());
    }
}

const Times* TimesReporter::find(const std::string& benchmark) const {
    const auto found = times_.find(benchmark);
    return found == times_.end() ? nullptr : &found->second;
}

}  // namespace bench
