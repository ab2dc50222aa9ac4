// Sound at 48 kHz, 16-bit stereo: the library against a plain loop of FFmpeg and libswresample over the same files in
// the same run. Ends with a line of ratios per file; fails when the library gives other samples than the plain loop.
#include <benchmark/benchmark.h>
#include <qmio.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "plain_sound.h"
#include "ratios.h"

namespace {

constexpr int kChannels = 2;
constexpr int kRate = 48000;
constexpr std::size_t kRoom = 1 << 20;

struct File {
    const char* name;
    std::string path;
};
const File kFiles[] = {{"aac_stereo", QMIO_BENCH_FOLDER "/stereo.m4a"},
                       {"ac3_5_1", QMIO_BENCH_FOLDER "/surround.ac3"},
                       {"pcm_24", QMIO_BENCH_FOLDER "/pcm24.wav"}};

struct Closer {
    void operator()(MediaHandle* handle) const { qmio_close(handle); }
};
using Media = std::unique_ptr<MediaHandle, Closer>;

Media open_file(const std::string& path) {
    Media media(qmio_open_a(path.c_str()));
    if (media == nullptr || qmio_set_dst_audio(media.get(), kChannels, kRate, 16) == 0)
        throw std::runtime_error("the library cannot open " + path);
    return media;
}

// Calls `use` with every piece of the file's sound.
template <class Use>
void deliver(MediaHandle* media, std::vector<uint8_t>& buffer, Use&& use) {
    for (int kind = qmio_get_frame(media); kind >= 0; kind = qmio_get_frame(media)) {
        int bytes = 0;
        while (kind == QMIO_PACKET_AUDIO && (bytes = qmio_audio_frame(media, buffer.data())) > 0)
            use(buffer.data(), bytes);
        qmio_release_frame(media);
    }
}

// Fast wrong samples are worth nothing.
void compare_samples(const File& file) {
    std::vector<uint8_t> ours;
    std::vector<uint8_t> theirs;
    std::vector<uint8_t> buffer(kRoom);
    const Media media = open_file(file.path);
    deliver(media.get(), buffer, [&](const uint8_t* data, int bytes) { ours.insert(ours.end(), data, data + bytes); });
    bench::PlainSound plain(file.path, kChannels, kRate);
    for (int bytes = plain.next(); bytes > 0; bytes = plain.next())
        theirs.insert(theirs.end(), plain.samples(), plain.samples() + bytes);
    if (ours != theirs)
        throw std::runtime_error(file.path + " sounds different from the plain loop");
}

void count_seconds(benchmark::State& state, int64_t bytes) {
    const double seconds = static_cast<double>(bytes) / (kRate * kChannels * 2);
    state.counters["seconds/s"] = benchmark::Counter(seconds, benchmark::Counter::kIsRate);
}

void read_library(benchmark::State& state, const File& file) {
    int64_t total = 0;
    std::vector<uint8_t> buffer(kRoom);
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        const Media media = open_file(file.path);
        state.ResumeTiming();
        deliver(media.get(), buffer, [&](const uint8_t*, int bytes) { total += bytes; });
    }
    count_seconds(state, total);
}

void read_plain(benchmark::State& state, const File& file) {
    int64_t total = 0;
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        bench::PlainSound plain(file.path, kChannels, kRate);
        state.ResumeTiming();
        for (int bytes = plain.next(); bytes > 0; bytes = plain.next())
            total += bytes;
    }
    count_seconds(state, total);
}

void time_whole_runs(benchmark::internal::Benchmark* benchmark) {
    benchmark->Iterations(1)->UseRealTime()->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);
}

void print_ratio(const bench::RatioReporter& reporter, const std::string& name) {
    if (const auto ratio = reporter.speed_ratio(name + "_library", name + "_plain"))
        std::printf("%s %.2f of a plain loop, %.2f by processor time\n", name.c_str(), ratio->by_clock,
                    ratio->by_processor);
}

int run(int argc, char** argv) {
    bench::initialize(argc, argv);
    for (const File& file : kFiles) {
        compare_samples(file);
        const std::string name = file.name;
        time_whole_runs(
            benchmark::RegisterBenchmark((name + "_library").c_str(), [&](auto& state) { read_library(state, file); }));
        time_whole_runs(
            benchmark::RegisterBenchmark((name + "_plain").c_str(), [&](auto& state) { read_plain(state, file); }));
    }
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    for (const File& file : kFiles)
        print_ratio(reporter, file.name);
    return reporter.failed() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    return bench::run_guarded("sound_bench", run, argc, argv);
}
