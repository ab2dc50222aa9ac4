// What a host would write without the library: a straight FFmpeg loop over the first video stream of a file, every
// picture converted to BGRA through a scaling context of its own into the same unpadded buffer.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <stdexcept>
#include <vector>

#include "reader.h"

namespace bench {

namespace {

AVFormatContext* open_container(const std::string& name) {
    AVFormatContext* container = nullptr;
    if (avformat_open_input(&container, name.c_str(), nullptr, nullptr) < 0)
        throw std::runtime_error("cannot open " + name);
    return container;
}

class PlainReader : public Reader {
  public:
    PlainReader(const std::string& path, int threads);

    bool next() override;

    // Seeks to the key frame before, decodes forward and converts the wanted picture alone.
    bool seek_and_read(int number) override;

    PictureView picture() const override { return {bgra_.data(), 4, codec_->width, codec_->height}; }

  private:
    struct Deleter {
        void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
        void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
        void operator()(AVFrame* frame) const { av_frame_free(&frame); }
        void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    };

    bool feed();
    bool decode_next();
    void convert();
    int64_t timestamp_of(int number) const;

    std::unique_ptr<AVFormatContext, Deleter> container_;
    std::unique_ptr<AVCodecContext, Deleter> codec_;
    std::unique_ptr<AVFrame, Deleter> frame_;
    std::unique_ptr<AVPacket, Deleter> packet_;
    std::vector<uint8_t> bgra_;
    AVStream* stream_ = nullptr;
};

PlainReader::PlainReader(const std::string& path, int threads)
    : container_(open_container(path)), frame_(av_frame_alloc()), packet_(av_packet_alloc()) {
    const AVCodec* decoder = nullptr;
    if (avformat_find_stream_info(container_.get(), nullptr) < 0)
        throw std::runtime_error("cannot read the streams of " + path);
    const int index = av_find_best_stream(container_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
    if (index < 0)
        throw std::runtime_error("no video in " + path);
    stream_ = container_->streams[index];
    codec_.reset(avcodec_alloc_context3(decoder));
    avcodec_parameters_to_context(codec_.get(), stream_->codecpar);
    codec_->pkt_timebase = stream_->time_base;
    codec_->thread_count = threads;
    if (avcodec_open2(codec_.get(), decoder, nullptr) < 0)
        throw std::runtime_error("cannot open the decoder of " + path);
    bgra_.resize(static_cast<std::size_t>(codec_->width) * static_cast<std::size_t>(codec_->height) * 4);
}

// Hands the decoder the next video packet, or nothing more at the end.
bool PlainReader::feed() {
    while (av_read_frame(container_.get(), packet_.get()) >= 0) {
        const bool wanted = packet_->stream_index == stream_->index;
        if (wanted)
            avcodec_send_packet(codec_.get(), packet_.get());
        av_packet_unref(packet_.get());
        if (wanted)
            return true;
    }
    return avcodec_send_packet(codec_.get(), nullptr) >= 0;
}

bool PlainReader::decode_next() {
    for (;;) {
        const int result = avcodec_receive_frame(codec_.get(), frame_.get());
        if (result != AVERROR(EAGAIN))
            return result >= 0;
        if (!feed())
            return false;
    }
}

void PlainReader::convert() {
    SwsContext* scaler =
        sws_getContext(frame_->width, frame_->height, static_cast<AVPixelFormat>(frame_->format), frame_->width,
                       frame_->height, AV_PIX_FMT_BGRA, SWS_FAST_BILINEAR, nullptr, nullptr, nullptr);
    uint8_t* const planes[4] = {bgra_.data()};
    const int row_bytes[4] = {frame_->width * 4};
    sws_scale(scaler, frame_->data, frame_->linesize, 0, frame_->height, planes, row_bytes);
    sws_freeContext(scaler);
}

int64_t PlainReader::timestamp_of(int number) const {
    const int64_t start = stream_->start_time != AV_NOPTS_VALUE ? stream_->start_time : 0;
    return start + av_rescale_q(number, av_inv_q(stream_->avg_frame_rate), stream_->time_base);
}

bool PlainReader::next() {
    if (!decode_next())
        return false;
    convert();
    return true;
}

bool PlainReader::seek_and_read(int number) {
    const int64_t wanted = timestamp_of(number);
    if (av_seek_frame(container_.get(), stream_->index, wanted, AVSEEK_FLAG_BACKWARD) < 0)
        return false;
    avcodec_flush_buffers(codec_.get());
    while (decode_next()) {
        if (frame_->best_effort_timestamp < wanted)
            continue;
        convert();
        return true;
    }
    return false;
}

}  // namespace

std::unique_ptr<Reader> open_plain_reader(const std::string& path) {
    return std::make_unique<PlainReader>(path, 0);
}

std::unique_ptr<Reader> open_plain_reader_on_one_thread(const std::string& path) {
    return std::make_unique<PlainReader>(path, 1);
}

}  // namespace bench
