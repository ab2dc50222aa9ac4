// Opening a file with its pictures counted against a plain loop that opens it and reads all of its packets, in the same
// run, for one film in several containers. Fails when the count is not that of the packets.
#include <benchmark/benchmark.h>
#include <qmio.h>

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "ratios.h"

namespace {

const std::string kClip = QMIO_BENCH_FOLDER "/bframes_gop120_1080p.mp4";
constexpr const char* kKinds[] = {"mp4", "mkv", "ts", "h264"};
constexpr int kTimes = 30;  // the clip is repeated

struct Closer {
    void operator()(MediaHandle* handle) const { qmio_close(handle); }
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

std::string film(const std::string& kind) {
    return QMIO_BENCH_FOLDER "/counted." + kind;
}

void make_film(const std::string& kind) {
    if (std::filesystem::exists(film(kind)))
        return;
    const std::string command = "ffmpeg -nostdin -v error -y -stream_loop " + std::to_string(kTimes - 1) + " -i " +
                                kClip + " -c copy " + film(kind);
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error("failed: " + command);
}

int64_t count_by_library(const std::string& kind) {
    const std::unique_ptr<MediaHandle, Closer> media(qmio_open_ex_a(film(kind).c_str(), "count=1"));
    return qmio_get_file_param(media.get(), "frames");
}

int64_t count_plain(const std::string& kind) {
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, film(kind).c_str(), nullptr, nullptr) < 0)
        throw std::runtime_error("FFmpeg cannot open " + film(kind));
    const std::unique_ptr<AVFormatContext, Closer> context(opened);
    avformat_find_stream_info(opened, nullptr);
    const std::unique_ptr<AVPacket, Closer> packet(av_packet_alloc());
    int64_t packets = 0;
    for (; av_read_frame(opened, packet.get()) >= 0; av_packet_unref(packet.get()))
        ++packets;
    return packets;
}

void count(benchmark::State& state, int64_t (*counter)(const std::string& kind), const std::string& kind) {
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(counter(kind));
}

void add(const std::string& name, int64_t (*counter)(const std::string& kind), const std::string& kind) {
    benchmark::RegisterBenchmark((name + kind).c_str(), count, counter, kind)
        ->Iterations(3)
        ->UseRealTime()
        ->MeasureProcessCPUTime()
        ->Unit(benchmark::kMillisecond);
}

int run(int argc, char** argv) {
    if (!bench::initialize(argc, argv).empty())
        throw std::runtime_error("takes Google Benchmark's options alone");
    for (const std::string& kind : kKinds) {
        make_film(kind);
        if (count_by_library(kind) != count_plain(kind))
            throw std::runtime_error("the counts differ in " + film(kind));
        add("library_", count_by_library, kind);
        add("plain_", count_plain, kind);
    }
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    for (const std::string& kind : kKinds)
        if (const auto speed = reporter.speed_ratio("library_" + kind, "plain_" + kind))
            std::printf("counting %s takes %.2f of the time of a plain loop, %.2f by processor time\n", kind.c_str(),
                        1 / speed->by_clock, 1 / speed->by_processor);
    return reporter.failed() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    return bench::run_guarded("counting_bench", run, argc, argv);
}
