// What a host would write for sound without the library: a straight FFmpeg loop over the first audio stream of a file,
// every frame through libswresample into one buffer.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bench {

class PlainSound {
  public:
    // Sound comes out at `rate` Hz with `channels` channels of 16-bit samples. Throws std::runtime_error when the file
    // cannot be opened.
    PlainSound(const std::string& name, int channels, int rate);

    // Decodes and converts the next frame. Returns its bytes, 0 at the end.
    int next();

    const uint8_t* samples() const { return buffer_.data(); }

  private:
    struct Deleter {
        void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
        void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
        void operator()(AVFrame* frame) const { av_frame_free(&frame); }
        void operator()(AVPacket* packet) const { av_packet_free(&packet); }
        void operator()(SwrContext* context) const { swr_free(&context); }
    };

    bool feed();
    int convert();

    int channels_;
    int rate_;
    std::unique_ptr<AVFormatContext, Deleter> container_;
    std::unique_ptr<AVCodecContext, Deleter> codec_;
    std::unique_ptr<AVFrame, Deleter> frame_;
    std::unique_ptr<AVPacket, Deleter> packet_;
    std::unique_ptr<SwrContext, Deleter> resampler_;
    std::vector<uint8_t> buffer_;
    int stream_ = -1;
};

}  // namespace bench
