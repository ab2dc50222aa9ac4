#include "table.h"

#include <benchmark/benchmark.h>
#include <sys/utsname.h>

#include <cstdio>
#include <ctime>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <thread>

#include "times.h"
#include "versions.h"

namespace bench {

namespace {

constexpr const char* kColumns[] = {kLibrary, kPlain, kFfms, kOpenCv};

using Remarks = std::map<std::string, std::string>;  // by the name of the benchmark

std::string name_of(const Row& row, const std::string& contender) {
    return row.media + "/" + row.work + "/" + contender;
}

void check_once(const Contender& contender, const std::string& name, Remarks& remarks) {
    if (remarks.count(name) == 0)
        remarks[name] = contender.check ? contender.check() : "";
}

void time_contender(benchmark::State& state, const Contender& contender, const std::string& name, Remarks& remarks) {
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        try {
            check_once(contender, name, remarks);
            Job job = contender.prepare();
            state.ResumeTiming();
            job();
            state.PauseTiming();
        } catch (const std::exception& error) {
            state.SkipWithError(error.what());
            return;
        }
        state.ResumeTiming();
    }
}

void add_benchmarks(const Row& row, Remarks& remarks) {
    for (const Contender& contender : row.contenders) {
        const std::string name = name_of(row, contender.name);
        benchmark::RegisterBenchmark(
            name.c_str(),
            [&contender, &remarks, name](benchmark::State& state) { time_contender(state, contender, name, remarks); })
            ->Iterations(1)
            ->UseRealTime()
            ->MeasureProcessCPUTime();
    }
}

std::string formatted(const char* format, double number) {
    char text[32];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

using Seconds = double (Times::*)() const;

// Units in a second; nothing where the contender has not run.
std::optional<double> speed(const Row& row, const char* column, const TimesReporter& times, Seconds seconds) {
    const Times* const found = times.find(name_of(row, column));
    for (const Contender& contender : row.contenders)
        if (found != nullptr && contender.name == column)
            return row.amount * contender.part / (found->*seconds)();
    return std::nullopt;
}

std::string figure(const Row& row, const char* column, const TimesReporter& times, const Remarks& remarks) {
    const std::optional<double> clocked = speed(row, column, times, &Times::clock);
    if (!clocked)
        return "";
    const auto remark = remarks.find(name_of(row, column));
    const bool remarked = remark != remarks.end() && !remark->second.empty();
    return formatted(*clocked < 100 ? "%.1f" : "%.0f", *clocked) + (remarked ? " (" + remark->second + ")" : "");
}

bool is_timed_here(const Row& row) {
    for (const Contender& contender : row.contenders)
        if (contender.is_program)
            return false;
    return true;
}

// How many times as fast as the plain loop, or else as OpenCV, the library is.
std::string ratio(const Row& row, const TimesReporter& times, Seconds seconds) {
    const std::optional<double> ours = speed(row, kLibrary, times, seconds);
    std::optional<double> plain = speed(row, kPlain, times, seconds);
    if (!plain)
        plain = speed(row, kOpenCv, times, seconds);
    return ours && plain ? formatted("%.2f", *ours / *plain) : "";
}

bool has_run(const Row& row, const TimesReporter& times) {
    for (const char* column : kColumns)
        if (times.find(name_of(row, column)) != nullptr)
            return true;
    return false;
}

void print_row(const Row& row, const TimesReporter& times, const Remarks& remarks) {
    std::printf("| %s | %s, %s |", row.media.c_str(), row.work.c_str(), row.unit.c_str());
    for (const char* column : kColumns)
        std::printf(" %s |", figure(row, column, times, remarks).c_str());
    std::printf(" %s | %s |\n", ratio(row, times, &Times::clock).c_str(),
                is_timed_here(row) ? ratio(row, times, &Times::processor).c_str() : "");
}

std::string processor_name() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.rfind("model name", 0) == 0)
            return line.substr(line.find(':') + 2);
    return "unknown processor";
}

void print_circumstances() {
    char date[32];
    const std::time_t now = std::time(nullptr);
    std::strftime(date, sizeof date, "%Y-%m-%d", std::gmtime(&now));
    utsname system{};
    uname(&system);
    std::printf("%s, %u threads; %s; %s.\n\n", processor_name().c_str(), std::thread::hardware_concurrency(),
                system.sysname, date);
    std::printf("%s.\n\n", versions().c_str());
}

void print_table(const std::vector<Row>& rows, const TimesReporter& times, const Remarks& remarks) {
    std::printf("| Media | Work |");
    for (const char* column : kColumns)
        std::printf(" %s |", column);
    std::printf(" qmio to plain | by processor time |\n|---|---|---:|---:|---:|---:|---:|---:|\n");
    for (const Row& row : rows)
        if (has_run(row, times))
            print_row(row, times, remarks);
}

}  // namespace

bool measure(const std::vector<Row>& rows) {
    Remarks remarks;
    for (const Row& row : rows)
        add_benchmarks(row, remarks);
    TimesReporter times;
    benchmark::RunSpecifiedBenchmarks(&times);
    print_circumstances();
    print_table(rows, times, remarks);
    return !times.failed();
}

}  // namespace bench
