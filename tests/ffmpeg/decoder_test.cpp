// One packet in, at most one picture out, and none lost.
#include "ffmpeg/decoder.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/media.h"

namespace qmio::ffmpeg {
namespace {

// The packets of a made file's video and a decoder for them that holds several pictures back.
class Stream {
  public:
    explicit Stream(const std::string& name) {
        AVFormatContext* container = nullptr;
        avformat_open_input(&container, test::media_path(name).string().c_str(), nullptr, nullptr);
        container_.reset(container);
        avformat_find_stream_info(container, nullptr);
        index_ = av_find_best_stream(container, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        const AVCodecParameters* parameters = container->streams[index_]->codecpar;
        codec_.reset(avcodec_alloc_context3(nullptr));
        avcodec_parameters_to_context(codec_.get(), parameters);
        codec_->thread_count = 4;
        avcodec_open2(codec_.get(), avcodec_find_decoder(parameters->codec_id), nullptr);
        decoder_.attach(codec_.get());
    }

    // Decodes `count` packets and returns how many pictures came out.
    int decode(int count) {
        int pictures = 0;
        const PacketPtr packet(av_packet_alloc());
        while (count > 0 && av_read_frame(container_.get(), packet.get()) >= 0) {
            if (packet->stream_index == index_) {
                pictures += step(packet.get());
                --count;
            }
            av_packet_unref(packet.get());
        }
        return pictures;
    }

    int drain(int most) {
        int pictures = 0;
        while (pictures < most && step(nullptr) == 1)
            ++pictures;
        return pictures;
    }

    int take_kept() {
        int pictures = 0;
        while (decoder_.take_kept(frame_.get()))
            ++pictures;
        return pictures;
    }

    void flush() { decoder_.flush(); }

  private:
    int step(const AVPacket* packet) {
        bool got = false;
        const int used = decoder_.decode(frame_.get(), got, packet);
        EXPECT_EQ(used, packet != nullptr ? packet->size : 0);
        return got;
    }

    FormatContextPtr container_;
    CodecContextPtr codec_;
    FramePtr frame_{av_frame_alloc()};
    Decoder decoder_;
    int index_ = -1;
};

constexpr int kMany = 1000;

TEST(Decoder, GivesEveryPictureOnceItIsDrained) {
    Stream stream("plain.mp4");
    const int before = stream.decode(kMany);
    EXPECT_LT(before, 150);
    EXPECT_EQ(before + stream.drain(kMany), 150);
    EXPECT_EQ(stream.drain(kMany), 0);
}

TEST(Decoder, LosesNoPictureWhenPacketsFollowAnUnfinishedDrain) {
    Stream stream("mjpeg.avi");
    int pictures = stream.decode(10);
    pictures += stream.drain(1);
    pictures += stream.decode(kMany);
    EXPECT_EQ(pictures + stream.drain(kMany), 40);
}

TEST(Decoder, TakesOutWhatADrainHasBegun) {
    Stream stream("plain.mp4");
    const int before = stream.decode(kMany) + stream.drain(1);
    EXPECT_LT(before, 150);
    EXPECT_EQ(before + stream.take_kept(), 150);
}

TEST(Decoder, ForgetsWhatItHeldWhenFlushed) {
    Stream stream("mjpeg.avi");
    stream.decode(10);
    stream.flush();
    EXPECT_EQ(stream.take_kept(), 0);
    EXPECT_EQ(stream.decode(kMany) + stream.drain(kMany), 30);
}

}  // namespace
}  // namespace qmio::ffmpeg
