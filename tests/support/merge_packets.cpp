// merge_packets IN OUT COUNT
//   Copies the first stream of IN into OUT with every COUNT packets joined into one, as some recorders write them: a
//   decoder then gives several frames of sound for one packet.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

struct Free {
    void operator()(AVFormatContext* container) const {
        if (container->iformat != nullptr)
            return avformat_close_input(&container);
        avio_closep(&container->pb);
        avformat_free_context(container);
    }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using Container = std::unique_ptr<AVFormatContext, Free>;
using Packet = std::unique_ptr<AVPacket, Free>;

Container open_input(const char* name) {
    AVFormatContext* container = nullptr;
    if (avformat_open_input(&container, name, nullptr, nullptr) < 0)
        return nullptr;
    Container input(container);
    return avformat_find_stream_info(container, nullptr) < 0 || container->nb_streams < 1 ? nullptr : std::move(input);
}

Container open_output(const char* name, const AVStream& source) {
    AVFormatContext* container = nullptr;
    if (avformat_alloc_output_context2(&container, nullptr, nullptr, name) < 0)
        return nullptr;
    Container output(container);
    AVStream* stream = avformat_new_stream(container, nullptr);
    if (stream == nullptr || avcodec_parameters_copy(stream->codecpar, source.codecpar) < 0 ||
        avio_open(&container->pb, name, AVIO_FLAG_WRITE) < 0)
        return nullptr;
    stream->codecpar->codec_tag = 0;
    stream->time_base = source.time_base;
    return avformat_write_header(container, nullptr) < 0 ? nullptr : std::move(output);
}

bool write_joined(AVFormatContext& output, const AVRational& time_base, std::vector<uint8_t>& joined,
                  const AVPacket& first) {
    Packet packet(av_packet_alloc());
    if (joined.empty())
        return true;
    if (packet == nullptr || av_new_packet(packet.get(), static_cast<int>(joined.size())) < 0)
        return false;
    std::memcpy(packet->data, joined.data(), joined.size());
    packet->pts = packet->dts = first.pts;
    packet->flags = AV_PKT_FLAG_KEY;
    av_packet_rescale_ts(packet.get(), time_base, output.streams[0]->time_base);
    joined.clear();
    return av_write_frame(&output, packet.get()) >= 0;
}

bool copy_joined(AVFormatContext& input, AVFormatContext& output, int count) {
    const Packet packet(av_packet_alloc());
    const Packet first(av_packet_alloc());
    const AVRational time_base = input.streams[0]->time_base;
    std::vector<uint8_t> joined;
    int inside = 0;
    while (av_read_frame(&input, packet.get()) >= 0) {
        if (packet->stream_index == 0) {
            if (inside == 0)
                first->pts = packet->pts;
            joined.insert(joined.end(), packet->data, packet->data + packet->size);
            inside = (inside + 1) % count;
            if (inside == 0 && !write_joined(output, time_base, joined, *first))
                return false;
        }
        av_packet_unref(packet.get());
    }
    return write_joined(output, time_base, joined, *first) && av_write_trailer(&output) >= 0;
}

}  // namespace

int main(int argc, char** argv) {
    const int count = argc == 4 ? std::atoi(argv[3]) : 0;
    if (count < 1) {
        std::fprintf(stderr, "usage: merge_packets IN OUT COUNT\n");
        return 2;
    }
    av_log_set_level(AV_LOG_ERROR);
    const Container input = open_input(argv[1]);
    const Container output = input != nullptr ? open_output(argv[2], *input->streams[0]) : nullptr;
    return output != nullptr && copy_joined(*input, *output, count) ? 0 : 1;
}
