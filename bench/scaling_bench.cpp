// The linear scaler on BGRA pictures against OpenCV's resize: 1080p to 720p and back.
// Usage: scaling_bench [Google Benchmark's options]. Ends with one line of ratios for each direction; fails when the
// two make other pictures. OpenCV runs on one thread, as the library does; what its own choice of threads gives is told
// too.
#include <benchmark/benchmark.h>
#include <qmio.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <opencv2/imgproc.hpp>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "ratios.h"

namespace {

constexpr int kBgra = 30;
constexpr int kLinear = 0;
constexpr int kOneThread = 1;
constexpr int kItsOwnChoice = -1;
constexpr unsigned kSeed = 20250612;
constexpr int kRounding = 2;  // where neighbours lie far apart, as in noise

struct Size {
    int width;
    int height;
};
constexpr Size kLarge{1920, 1080}, kSmall{1280, 720};

struct Picture {
    explicit Picture(Size of)
        : size(of), bgra(static_cast<std::size_t>(of.width) * static_cast<std::size_t>(of.height) * 4) {}

    cv::Mat mat() { return cv::Mat(size.height, size.width, CV_8UC4, bgra.data()); }

    Size size;
    std::vector<uint8_t> bgra;
};

Picture noise(Size size) {
    Picture picture(size);
    std::mt19937 random(kSeed);
    for (uint8_t& byte : picture.bgra)
        byte = static_cast<uint8_t>(random());
    return picture;
}

void scale_by_library(const Picture& source, Picture& target) {
    qmio_scale_ex(target.bgra.data(), kBgra, target.size.width, target.size.height, source.bgra.data(), kBgra,
                  source.size.width, source.size.height, kLinear);
}

void scale_by_opencv(Picture& source, Picture& target) {
    cv::Mat to = target.mat();
    cv::resize(source.mat(), to, to.size(), 0, 0, cv::INTER_LINEAR);
}

void compare_pictures(Size from, Size to) {
    Picture source = noise(from), ours(to), theirs(to);
    scale_by_library(source, ours);
    scale_by_opencv(source, theirs);
    for (std::size_t byte = 0; byte < ours.bgra.size(); ++byte)
        if (std::abs(ours.bgra[byte] - theirs.bgra[byte]) > kRounding)
            throw std::runtime_error("byte " + std::to_string(byte) + " differs from OpenCV's");
}

void time_library(benchmark::State& state, Size from, Size to) {
    const Picture source = noise(from);
    Picture target(to);
    for ([[maybe_unused]] auto _ : state)
        scale_by_library(source, target);
}

void time_opencv(benchmark::State& state, Size from, Size to, int threads) {
    cv::setNumThreads(threads);
    Picture source = noise(from), target(to);
    for ([[maybe_unused]] auto _ : state)
        scale_by_opencv(source, target);
}

void shrinking_library(benchmark::State& state) {
    time_library(state, kLarge, kSmall);
}
void shrinking_opencv(benchmark::State& state) {
    time_opencv(state, kLarge, kSmall, kOneThread);
}
void shrinking_opencv_threads(benchmark::State& state) {
    time_opencv(state, kLarge, kSmall, kItsOwnChoice);
}
void enlarging_library(benchmark::State& state) {
    time_library(state, kSmall, kLarge);
}
void enlarging_opencv(benchmark::State& state) {
    time_opencv(state, kSmall, kLarge, kOneThread);
}
void enlarging_opencv_threads(benchmark::State& state) {
    time_opencv(state, kSmall, kLarge, kItsOwnChoice);
}

void time_pictures(benchmark::internal::Benchmark* benchmark) {
    benchmark->Iterations(40)->UseRealTime()->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(shrinking_library)->Apply(time_pictures);
BENCHMARK(shrinking_opencv)->Apply(time_pictures);
BENCHMARK(shrinking_opencv_threads)->Apply(time_pictures);
BENCHMARK(enlarging_library)->Apply(time_pictures);
BENCHMARK(enlarging_opencv)->Apply(time_pictures);
BENCHMARK(enlarging_opencv_threads)->Apply(time_pictures);

void print_ratios(const bench::RatioReporter& reporter, const char* what, const std::string& kind) {
    const auto one_thread = reporter.speed_ratio(kind + "_library", kind + "_opencv");
    const auto threads = reporter.speed_ratio(kind + "_library", kind + "_opencv_threads");
    if (!one_thread || !threads)
        return;
    cv::setNumThreads(kItsOwnChoice);
    std::printf("%s %.2f of OpenCV on one thread, %.2f by processor time; %.2f of OpenCV on its own choice of %d\n",
                what, one_thread->by_clock, one_thread->by_processor, threads->by_clock, cv::getNumThreads());
}

int run(int argc, char** argv) {
    if (bench::initialize(argc, argv).size() > 0)
        throw std::runtime_error("takes Google Benchmark's options alone");
    compare_pictures(kLarge, kSmall);
    compare_pictures(kSmall, kLarge);
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    print_ratios(reporter, "1080p to 720p", "shrinking");
    print_ratios(reporter, "720p to 1080p", "enlarging");
    return reporter.failed() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    return bench::run_guarded("scaling_bench", run, argc, argv);
}
