// Frames per second of the library and of a plain FFmpeg loop: the whole clip in order, and single frames by number.
// Usage: reading_bench [Google Benchmark's options] [CLIP]. Ends with one line of ratios; fails when the library gives
// another picture than the plain loop.
#include <benchmark/benchmark.h>
#include <qmio.h>

#include <cstdio>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "plain_reader.h"
#include "ratios.h"

namespace {

constexpr int kSeeks = 12;
constexpr int kSteps = 240;      // two groups of pictures of the clip
constexpr int kPlainSteps = 12;  // of those, evenly spread: each of them takes long
constexpr int kJogFrom = 50;
constexpr int kCut = 240;
constexpr int kAround = 12;
constexpr int kLeap = 5;
constexpr unsigned kSeed = 20240305;

std::string clip = QMIO_BENCH_CLIP;

struct Closer {
    void operator()(MediaHandle* handle) const { qmio_close(handle); }
};
using Media = std::unique_ptr<MediaHandle, Closer>;

Media open_clip() {
    Media media(qmio_open_a(clip.c_str()));
    if (media == nullptr)
        throw std::runtime_error("the library cannot open " + clip);
    return media;
}

std::vector<uint8_t> picture_of(MediaHandle* media) {
    return std::vector<uint8_t>(static_cast<std::size_t>(qmio_get_file_param(media, "width")) *
                                static_cast<std::size_t>(qmio_get_file_param(media, "height")) * 4);
}

std::vector<int> random_frames() {
    const Media media = open_clip();
    std::mt19937 generator(kSeed);
    std::uniform_int_distribution<int> pick(0, static_cast<int>(qmio_get_file_param(media.get(), "frames")) - 1);
    std::vector<int> numbers(kSeeks);
    for (int& number : numbers)
        number = pick(generator);
    return numbers;
}

bool read_by_number(MediaHandle* media, int number, uint8_t* bgra) {
    return qmio_seek_frame(media, number) == number && qmio_read_frame(media, bgra) > 0;
}

// A fast wrong picture is worth nothing: every frame that the random benchmarks ask for must be the plain loop's.
void compare_pictures() {
    const Media media = open_clip();
    bench::PlainReader plain(clip);
    std::vector<uint8_t> ours = picture_of(media.get());
    std::vector<uint8_t> theirs = ours;
    for (const int number : random_frames())
        if (!read_by_number(media.get(), number, ours.data()) || !plain.read_frame(number, theirs.data()) ||
            ours != theirs)
            throw std::runtime_error("frame " + std::to_string(number) + " differs from the plain loop's");
}

int read_all(MediaHandle* media, uint8_t* bgra) {
    int frames = 0;
    int result = 0;
    while ((result = qmio_read_frame(media, bgra)) != 0)
        frames += result > 1;
    while (qmio_video_pkt(media, bgra, nullptr) > 1)
        ++frames;
    return frames;
}

void count_frames(benchmark::State& state, int64_t frames) {
    state.counters["frames/s"] = benchmark::Counter(static_cast<double>(frames), benchmark::Counter::kIsRate);
}

// A reader that loses pictures must not win.
void expect_whole_clip(benchmark::State& state, int64_t frames) {
    if (frames != state.iterations() * qmio_get_file_param(open_clip().get(), "frames"))
        state.SkipWithError("the number of pictures is not that of the clip");
}

void read_whole_clip(benchmark::State& state, int (*read)(MediaHandle* media, uint8_t* bgra)) {
    int64_t frames = 0;
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        Media media = open_clip();
        std::vector<uint8_t> bgra = picture_of(media.get());
        state.ResumeTiming();
        frames += read(media.get(), bgra.data());
        state.PauseTiming();
        media.reset();
        state.ResumeTiming();
    }
    expect_whole_clip(state, frames);
    count_frames(state, frames);
}

void sequential_library(benchmark::State& state) {
    read_whole_clip(state, read_all);
}

int read_all_in_background(MediaHandle* media, uint8_t* bgra) {
    qmio_fifo_ts(media, 0, -1, 0, -1, 1);
    return read_all(media, bgra);
}

void queue_library(benchmark::State& state) {
    read_whole_clip(state, read_all_in_background);
}

void sequential_plain(benchmark::State& state) {
    int64_t frames = 0;
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        auto reader = std::make_unique<bench::PlainReader>(clip);
        std::vector<uint8_t> bgra(reader->picture_bytes());
        state.ResumeTiming();
        for (; reader->decode_next(); ++frames)
            reader->convert(bgra.data());
        state.PauseTiming();
        reader.reset();
        state.ResumeTiming();
    }
    expect_whole_clip(state, frames);
    count_frames(state, frames);
}

void random_library(benchmark::State& state) {
    const Media media = open_clip();
    std::vector<uint8_t> bgra = picture_of(media.get());
    const std::vector<int> numbers = random_frames();
    for ([[maybe_unused]] auto _ : state)
        for (const int number : numbers)
            read_by_number(media.get(), number, bgra.data());
    count_frames(state, state.iterations() * kSeeks);
}

void random_plain(benchmark::State& state) {
    bench::PlainReader reader(clip);
    std::vector<uint8_t> bgra(reader.picture_bytes());
    const std::vector<int> numbers = random_frames();
    for ([[maybe_unused]] auto _ : state)
        for (const int number : numbers)
            reader.read_frame(number, bgra.data());
    count_frames(state, state.iterations() * kSeeks);
}

// ---- jogging ----

// The orders in which people ask for frames: one after the other backwards, to and fro around a cut, forwards in leaps,
// and one again and again.
std::vector<int> step_back() {
    std::vector<int> numbers(kSteps);
    for (int step = 0; step < kSteps; ++step)
        numbers[static_cast<std::size_t>(step)] = kJogFrom + kSteps - step;
    return numbers;
}

std::vector<int> to_and_fro() {
    std::vector<int> numbers;
    for (int round = 0; round < kSteps / (4 * kAround); ++round)
        for (int place = 0; place < 4 * kAround; ++place)
            numbers.push_back(kCut + (place < 2 * kAround ? place - kAround : 3 * kAround - place));
    return numbers;
}

std::vector<int> scrub_forward() {
    std::vector<int> numbers;
    for (int frame = kJogFrom; frame < kJogFrom + kSteps; frame += kLeap)
        numbers.push_back(frame);
    return numbers;
}

std::vector<int> same_again() {
    return std::vector<int>(kSteps, kCut);
}

// A host that jogs has a picture on show before.
void jog_library(benchmark::State& state, const std::vector<int>& numbers, int from, int64_t frames_each) {
    const Media media = open_clip();
    std::vector<uint8_t> bgra = picture_of(media.get());
    read_by_number(media.get(), from, bgra.data());
    for ([[maybe_unused]] auto _ : state)
        for (const int number : numbers)
            if (!read_by_number(media.get(), number, bgra.data()))
                state.SkipWithError("a frame is not reached");
    count_frames(state, state.iterations() * static_cast<int64_t>(numbers.size()) * frames_each);
}

void step_back_library(benchmark::State& state) {
    jog_library(state, step_back(), kJogFrom + kSteps + 1, 1);
}
void to_and_fro_library(benchmark::State& state) {
    jog_library(state, to_and_fro(), kCut, 1);
}
// In frames of the source that are passed.
void scrub_library(benchmark::State& state) {
    jog_library(state, scrub_forward(), kJogFrom - kLeap, kLeap);
}
void same_again_library(benchmark::State& state) {
    jog_library(state, same_again(), kCut, 1);
}

void step_back_plain(benchmark::State& state) {
    bench::PlainReader reader(clip);
    std::vector<uint8_t> bgra(reader.picture_bytes());
    const std::vector<int> numbers = step_back();
    for ([[maybe_unused]] auto _ : state)
        for (std::size_t step = 0; step < numbers.size(); step += kSteps / kPlainSteps)
            reader.read_frame(numbers[step], bgra.data());
    count_frames(state, state.iterations() * kPlainSteps);
}

void time_whole_runs(benchmark::internal::Benchmark* benchmark) {
    benchmark->Iterations(1)->UseRealTime()->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(sequential_library)->Apply(time_whole_runs);
BENCHMARK(queue_library)->Apply(time_whole_runs);
BENCHMARK(sequential_plain)->Apply(time_whole_runs);
BENCHMARK(random_library)->Apply(time_whole_runs);
BENCHMARK(random_plain)->Apply(time_whole_runs);
BENCHMARK(step_back_library)->Apply(time_whole_runs);
BENCHMARK(step_back_plain)->Apply(time_whole_runs);
BENCHMARK(to_and_fro_library)->Apply(time_whole_runs);
BENCHMARK(scrub_library)->Apply(time_whole_runs);
BENCHMARK(same_again_library)->Apply(time_whole_runs);

// `frames` is how many frames ours reads for each of the other's.
void print_ratio(const bench::RatioReporter& reporter, const char* what, const char* ours, const char* plain,
                 const char* of = "a plain loop", double frames = 1) {
    const auto ratio = reporter.speed_ratio(ours, plain);
    if (ratio)
        std::printf("%s %.2f of %s, %.2f by processor time\n", what, ratio->by_clock * frames, of,
                    ratio->by_processor * frames);
}

// What is left after Google Benchmark's own options: at most the name of a clip.
void take_clip(const std::vector<char*>& rest) {
    if (rest.size() > 1 || (rest.size() == 1 && rest[0][0] == '-'))
        throw std::runtime_error("takes Google Benchmark's options and at most the name of a clip");
    if (rest.size() == 1)
        clip = rest[0];
}

int run(int argc, char** argv) {
    const std::vector<char*> rest = bench::initialize(argc, argv);
    take_clip(rest);
    compare_pictures();
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    print_ratio(reporter, "sequential", "sequential_library", "sequential_plain");
    print_ratio(reporter, "random access", "random_library", "random_plain");
    print_ratio(reporter, "through the queue", "queue_library", "sequential_library", "reading without it");
    const char* const in_order = "reading in order";
    const double jogged = kSteps / static_cast<double>(qmio_get_file_param(open_clip().get(), "frames"));
    print_ratio(reporter, "step back by 1", "step_back_library", "sequential_library", in_order, jogged);
    print_ratio(reporter, "step back by 1", "step_back_library", "step_back_plain", "a plain loop",
                static_cast<double>(kSteps) / kPlainSteps);
    print_ratio(reporter, "to and fro", "to_and_fro_library", "sequential_library", in_order, jogged);
    print_ratio(reporter, "scrub forward by 5", "scrub_library", "sequential_library", in_order, jogged);
    print_ratio(reporter, "same frame again", "same_again_library", "sequential_library", in_order, jogged);
    return reporter.failed() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    return bench::run_guarded("reading_bench", run, argc, argv);
}
