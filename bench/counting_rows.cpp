// Opening a file with its pictures counted against a plain loop that opens it and reads all of its packets, for one film
// in several containers.
extern "C" {
#include <libavformat/avformat.h>
}

#include <filesystem>
#include <stdexcept>

#include "media.h"
#include "rows.h"

namespace bench {

namespace {

constexpr const char* kKinds[] = {"mp4", "mkv", "ts", "h264"};
constexpr int kTimes = 30;  // the clip is repeated
constexpr int kOpenings = 3;

struct Closer {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

std::string film(const std::string& kind) {
    std::string path = bench_file("counted." + kind);
    if (!std::filesystem::exists(path))
        run_program("ffmpeg -nostdin -v error -y -stream_loop " + std::to_string(kTimes - 1) + " -i " +
                    bench_file("bframes_gop120_1080p.mp4") + " -c copy " + path);
    return path;
}

int64_t count_by_library(const std::string& path) {
    return qmio_get_file_param(open_media(path, "count=1").get(), "frames");
}

int64_t count_plain(const std::string& path) {
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) < 0)
        throw std::runtime_error("FFmpeg cannot open " + path);
    const std::unique_ptr<AVFormatContext, Closer> context(opened);
    avformat_find_stream_info(opened, nullptr);
    const std::unique_ptr<AVPacket, Closer> packet(av_packet_alloc());
    int64_t packets = 0;
    for (; av_read_frame(opened, packet.get()) >= 0; av_packet_unref(packet.get()))
        ++packets;
    return packets;
}

std::string compare_counts(const std::string& path) {
    if (count_by_library(path) != count_plain(path))
        throw std::runtime_error("the counts differ in " + path);
    return "";
}

Contender counting(const char* name, const std::string& kind, int64_t (*count)(const std::string& path)) {
    return {name,
            [kind, count]() -> Job {
                return [path = film(kind), count] {
                    for (int i = 0; i < kOpenings; ++i)
                        count(path);
                };
            },
            [kind] { return compare_counts(film(kind)); }};
}

}  // namespace

void add_counting_rows(std::vector<Row>& rows) {
    for (const char* kind : kKinds)
        rows.push_back({std::string("six minutes of H.264 in ") + kind,
                        "open and count",
                        "times/s",
                        kOpenings,
                        {counting(kLibrary, kind, count_by_library), counting(kPlain, kind, count_plain)}});
}

}  // namespace bench
