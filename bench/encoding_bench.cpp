// Raw pictures from a file into H.264 in MP4: the library against the ffmpeg program with the same encoder, settings
// and threads, in the same run. Ends with the ratio of the times; fails when the two files hold different pictures.
#include <benchmark/benchmark.h>
#include <qmio.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "ratios.h"

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 720;
constexpr std::size_t kPictureBytes = std::size_t{kWidth} * kHeight * 3 / 2;

const std::string kRaw = QMIO_BENCH_FOLDER "/pictures_720p.yuv";
const std::string kOurs = QMIO_BENCH_FOLDER "/encoded_by_library.mp4";
const std::string kTheirs = QMIO_BENCH_FOLDER "/encoded_by_ffmpeg.mp4";
const std::string kOptions =
    "fmt=mp4,vcodec=libx264,size=1280x720,pix=yuv420p,r=25,preset=veryfast,crf=23,g=120,bf=3,threads=2";
const std::string kCommand = "ffmpeg -nostdin -v error -y -f rawvideo -pix_fmt yuv420p -s 1280x720 -r 25 -i " + kRaw +
                             " -c:v libx264 -preset veryfast -crf 23 -g 120 -bf 3 -threads 2 " + kTheirs;

struct Closer {
    void operator()(MediaHandle* handle) const { qmio_close(handle); }
};
using Media = std::unique_ptr<MediaHandle, Closer>;

void encode_by_library() {
    std::ifstream raw(kRaw, std::ios::binary);
    Media media(qmio_create_a(kOurs.c_str(), kOptions.c_str()));
    if (media == nullptr || !raw)
        throw std::runtime_error("the library cannot write " + kOurs);
    std::vector<uint8_t> picture(kPictureBytes);
    while (raw.read(reinterpret_cast<char*>(picture.data()), static_cast<std::streamsize>(picture.size())))
        if (qmio_write_frame(media.get(), picture.data()) < 0)
            throw std::runtime_error("a picture was not written");
}

void encode_by_program() {
    if (std::system(kCommand.c_str()) != 0)
        throw std::runtime_error("the ffmpeg program failed");
}

// Every byte of every picture, decoded.
std::vector<std::vector<uint8_t>> pictures_of(const std::string& file) {
    Media media(qmio_open_a(file.c_str()));
    if (media == nullptr)
        throw std::runtime_error("cannot open " + file);
    std::vector<std::vector<uint8_t>> pictures;
    std::vector<uint8_t> picture(std::size_t{kWidth} * kHeight * 4);
    int result = 0;
    while ((result = qmio_read_frame(media.get(), picture.data())) != 0)
        if (result > 1)
            pictures.push_back(picture);
    while (qmio_video_pkt(media.get(), picture.data(), nullptr) > 1)
        pictures.push_back(picture);
    return pictures;
}

void compare_files() {
    encode_by_library();
    encode_by_program();
    if (pictures_of(kOurs) != pictures_of(kTheirs))
        throw std::runtime_error("the library's file holds other pictures than the program's");
}

void encode_library(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state)
        encode_by_library();
}

void encode_plain(benchmark::State& state) {
    for ([[maybe_unused]] auto _ : state)
        encode_by_program();
}

BENCHMARK(encode_library)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(encode_plain)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

int run(int argc, char** argv) {
    bench::initialize(argc, argv);
    compare_files();
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    if (const auto ratio = reporter.speed_ratio("encode_library", "encode_plain"))
        std::printf("encoding %.2f of the ffmpeg program\n", ratio->by_clock);
    return reporter.failed() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    return bench::run_guarded("encoding_bench", run, argc, argv);
}
