// A film of about a gigabyte copied from MP4 into Matroska: the library against `ffmpeg -c copy` in the same run, in
// megabytes per second, and how much memory each of them came to. Fails when the copies hold different packets or when
// copying needs more memory for the whole film than for its first tenth.
#include <benchmark/benchmark.h>
#include <qmio.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "ratios.h"

namespace {

const std::string kFilm = QMIO_BENCH_FOLDER "/gigabyte.mp4";
const std::string kOurs = QMIO_BENCH_FOLDER "/copied_by_library.mkv";
const std::string kTheirs = QMIO_BENCH_FOLDER "/copied_by_ffmpeg.mkv";
const std::string kCommand = "ffmpeg -nostdin -v error -y -i " + kFilm + " -map 0:v:0 -map 0:a:0 -c copy " + kTheirs;

struct Closer {
    void operator()(MediaHandle* handle) const { qmio_close(handle); }
};
using Media = std::unique_ptr<MediaHandle, Closer>;

void run_program(const std::string& command) {
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error("failed: " + command);
}

// A minute and a half of noise at a high rate, repeated: what is copied does not matter, how much of it does.
void make_film() {
    if (std::filesystem::exists(kFilm))
        return;
    const std::string piece = QMIO_BENCH_FOLDER "/gigabyte_piece.mp4";
    run_program(
        "ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=1280x720:rate=25:duration=20 -f lavfi -i "
        "sine=frequency=440:duration=20 -vf noise=alls=60:allf=t -pix_fmt yuv420p -c:v mpeg2video -q:v 2 -g 12 -bf 2 "
        "-c:a aac " +
        piece);
    const auto times = 1'000'000'000 / std::filesystem::file_size(piece) - 1;
    run_program("ffmpeg -nostdin -v error -y -stream_loop " + std::to_string(times) + " -i " + piece + " -c copy " +
                kFilm);
    std::filesystem::remove(piece);
}

void copy_by_library(int64_t most = INT64_MAX) {
    const Media film(qmio_open_a(kFilm.c_str()));
    const Media copy(qmio_mux_a(kOurs.c_str(), "fmt=matroska", film.get(), film.get()));
    if (copy == nullptr)
        throw std::runtime_error("the library cannot copy " + kFilm);
    for (int64_t packets = 0; packets < most && qmio_get_frame(film.get()) >= 0; ++packets) {
        if (qmio_copy_frame(copy.get(), film.get()) < 0)
            throw std::runtime_error("a packet was not written");
        qmio_release_frame(film.get());
    }
}

// KiB that copying comes to at its highest, in a process of its own.
template <class Work>
long peak_memory(Work work) {
    const pid_t child = fork();
    if (child == 0) {
        try {
            work();
        } catch (const std::exception&) {
            _exit(1);
        }
        _exit(0);
    }
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child || status != 0)
        throw std::runtime_error("copying in another process failed");
    return usage.ru_maxrss;
}

void check_memory() {
    const long tenth = peak_memory([] { copy_by_library(5000); });
    const long whole = peak_memory([] { copy_by_library(); });
    const long program = peak_memory([] { run_program(kCommand); });
    std::printf("memory: %ld KiB for 5,000 packets, %ld KiB for the film; the ffmpeg program %ld KiB\n", tenth, whole,
                program);
    if (whole > tenth + tenth / 4)
        throw std::runtime_error("memory grows with the film");
}

// The packets of both copies, hashed.
void compare_copies() {
    const auto hashes = [](const std::string& file) {
        return "ffmpeg -nostdin -v error -i " + file + " -c copy -f streamhash -hash murmur3 -";
    };
    run_program("[ \"$(" + hashes(kOurs) + ")\" = \"$(" + hashes(kTheirs) + ")\" ]");
}

void count_bytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<int64_t>(std::filesystem::file_size(kFilm)) *
                            static_cast<int64_t>(state.iterations()));
}

void copy_library(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state)
        copy_by_library();
    count_bytes(state);
}

void copy_plain(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state)
        run_program(kCommand);
    count_bytes(state);
}

BENCHMARK(copy_library)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(copy_plain)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

int run(int argc, char** argv) {
    bench::initialize(argc, argv);
    make_film();
    check_memory();
    compare_copies();
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    if (const auto ratio = reporter.speed_ratio("copy_library", "copy_plain"))
        std::printf("copying %.2f of the ffmpeg program\n", ratio->by_clock);
    std::filesystem::remove(kOurs);
    std::filesystem::remove(kTheirs);
    return reporter.failed() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    return bench::run_guarded("remux_bench", run, argc, argv);
}
