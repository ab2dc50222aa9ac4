// How fast the library is beside a plain FFmpeg loop and others of its kind, as one table.
// Usage: qmio_bench [Google Benchmark's options], for instance --benchmark_filter='h264.*step back'. The table is
// Markdown on standard output; each round is told on standard error as it ends. Fails when the library delivers
// something else than the plain loop.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "rows.h"
#include "table.h"

namespace {

// Rounds of all rows that take turns; what the command line says overrules it.
void initialize(int argc, char** argv) {
    std::string repeat = "--benchmark_repetitions=2";
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1, {repeat.data(), interleave.data()});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (count > 1)
        throw std::runtime_error("takes Google Benchmark's options alone");
}

}  // namespace

int main(int argc, char** argv) {
    try {
        initialize(argc, argv);
        std::vector<bench::Row> rows;
        bench::add_video_rows(rows);
        bench::add_sound_rows(rows);
        bench::add_counting_rows(rows);
        bench::add_writing_rows(rows);
        bench::add_picture_rows(rows);
        return bench::measure(rows) ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qmio_bench: %s\n", error.what());
        return 1;
    }
}
