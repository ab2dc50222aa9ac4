// What a host would write without the library: a straight FFmpeg loop over the first video stream of a file, every
// picture converted to BGRA through a scaling context of its own into the same unpadded buffer.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <cstdint>
#include <memory>
#include <string>

namespace bench {

class PlainReader {
  public:
    // Throws std::runtime_error when the file cannot be opened.
    explicit PlainReader(const std::string& name);

    // Bytes of one converted picture.
    std::size_t picture_bytes() const {
        return static_cast<std::size_t>(codec_->width) * static_cast<std::size_t>(codec_->height) * 4;
    }

    // Decodes the next picture, the delayed ones at the end included. False at the end.
    bool decode_next();

    // Converts the picture decoded last into width x height x 4 bytes.
    void convert(uint8_t* bgra);

    // Seeks to the key frame before frame `number`, decodes forward to it and converts it alone.
    bool read_frame(int number, uint8_t* bgra);

  private:
    struct Deleter {
        void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
        void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
        void operator()(AVFrame* frame) const { av_frame_free(&frame); }
        void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    };

    bool feed();
    int64_t timestamp_of(int number) const;

    std::unique_ptr<AVFormatContext, Deleter> container_;
    std::unique_ptr<AVCodecContext, Deleter> codec_;
    std::unique_ptr<AVFrame, Deleter> frame_;
    std::unique_ptr<AVPacket, Deleter> packet_;
    AVStream* stream_ = nullptr;
};

}  // namespace bench
