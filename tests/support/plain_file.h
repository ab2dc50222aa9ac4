// A file by FFmpeg's plain calls: what the library's answers about it are held against.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include <filesystem>
#include <memory>
#include <vector>

namespace qmio::test {

struct FreeAv {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(AVFormatContext* container) const { avformat_close_input(&container); }
    void operator()(SwrContext* resampler) const { swr_free(&resampler); }
};
using Frame = std::unique_ptr<AVFrame, FreeAv>;
using Packet = std::unique_ptr<AVPacket, FreeAv>;
using Codec = std::unique_ptr<AVCodecContext, FreeAv>;
using Container = std::unique_ptr<AVFormatContext, FreeAv>;

Container open_plainly(const std::filesystem::path& path);

// The packets of one stream.
std::vector<Packet> packets_of(const std::filesystem::path& path, int stream);

// The first video stream's pictures in the order in which they are shown.
std::vector<Frame> pictures_of(const std::filesystem::path& path);

}  // namespace qmio::test
