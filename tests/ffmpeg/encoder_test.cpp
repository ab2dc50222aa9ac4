// One frame in, at most one packet out, and none lost; and copies of packets that share their bytes.
#include "ffmpeg/encoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>

#include "ffmpeg/packet_copy.h"

namespace qmio::ffmpeg {
namespace {

class EncoderTest : public testing::Test {
  protected:
    void open(const char* name, const char* options) {
        const AVCodec* encoder = avcodec_find_encoder_by_name(name);
        codec_.reset(avcodec_alloc_context3(encoder));
        codec_->width = 64;
        codec_->height = 48;
        codec_->pix_fmt = AV_PIX_FMT_YUV420P;
        codec_->time_base = {1, 25};
        Dictionary dictionary;
        av_dict_parse_string(dictionary.address(), options, "=", ",", 0);
        ASSERT_EQ(avcodec_open2(codec_.get(), encoder, dictionary.address()), 0);
        packets_.attach(codec_.get());
    }

    FramePtr picture(int64_t pts, int width = 64) const {
        FramePtr frame(av_frame_alloc());
        frame->format = AV_PIX_FMT_YUV420P;
        frame->width = width;
        frame->height = 48;
        frame->pts = pts;
        av_frame_get_buffer(frame.get(), 0);
        for (int plane = 0; plane < 3; ++plane)
            std::fill_n(frame->data[plane], frame->linesize[plane] * (plane == 0 ? 48 : 24),
                        static_cast<uint8_t>(pts * 9 + plane));
        return frame;
    }

    // 1 with a packet, 0 without, negative on an error.
    int encode(const AVFrame* frame) {
        bool got = false;
        const int result = packets_.encode(packet_.get(), got, frame);
        if (got)
            times_.insert(packet_->pts);
        return result < 0 ? result : got;
    }

    CodecContextPtr codec_;
    Encoder packets_;
    PacketPtr packet_{av_packet_alloc()};
    std::multiset<int64_t> times_;
};

std::multiset<int64_t> times_up_to(int64_t count) {
    std::multiset<int64_t> times;
    for (int64_t time = 0; time < count; ++time)
        times.insert(time);
    return times;
}

TEST_F(EncoderTest, WithoutDelayGivesAPacketForEveryFrame) {
    open("mpeg4", "");
    for (int number = 0; number < 10; ++number)
        EXPECT_EQ(encode(picture(number).get()), 1);
    EXPECT_EQ(encode(nullptr), 0);
    EXPECT_EQ(encode(nullptr), 0);
}

TEST_F(EncoderTest, WithDelayGivesNothingFirstAndTheRestWhenDrained) {
    open("mpeg4", "bf=2");
    EXPECT_EQ(encode(picture(0).get()), 0);
    for (int number = 1; number < 20; ++number)
        EXPECT_GE(encode(picture(number).get()), 0);
    EXPECT_LT(times_.size(), 20U);
    while (encode(nullptr) == 1) {
    }
    EXPECT_EQ(times_, times_up_to(20));
    EXPECT_EQ(encode(nullptr), 0);
}

TEST_F(EncoderTest, LeavesThePacketBlankWhenNothingCameOut) {
    open("mpeg4", "bf=2");
    EXPECT_EQ(encode(picture(0).get()), 0);
    EXPECT_EQ(packet_->data, nullptr);
    EXPECT_EQ(packet_->size, 0);
}

TEST_F(EncoderTest, RefusesAFrameThatDoesNotFitAndGoesOn) {
    open("mpeg4", "");
    EXPECT_EQ(encode(picture(0).get()), 1);
    FramePtr sound(av_frame_alloc());
    EXPECT_LT(encode(sound.get()), 0);
    EXPECT_EQ(encode(picture(1).get()), 1);
}

TEST_F(EncoderTest, TakesNothingAfterItWasDrained) {
    open("mpeg4", "bf=2");
    encode(picture(0).get());
    EXPECT_EQ(encode(nullptr), 1);
    EXPECT_LT(encode(picture(1).get()), 0);
    EXPECT_EQ(encode(nullptr), 0);
}

TEST_F(EncoderTest, GivesEveryPacketOnceHoweverTheyAreTaken) {
    open("mpeg4", "bf=4,b_strategy=0");
    int given = 0;
    for (int number = 0; number < 23; ++number) {
        given += encode(picture(number).get());
        while (packets_.take_kept(packet_.get())) {
            times_.insert(packet_->pts);
            ++given;
        }
    }
    EXPECT_FALSE(packets_.take_kept(packet_.get()));
    while (encode(nullptr) == 1)
        ++given;
    EXPECT_EQ(given, 23);
    EXPECT_EQ(times_, times_up_to(23));
}

TEST_F(EncoderTest, FreesWhatNobodyTook) {
    open("mpeg4", "bf=4,b_strategy=0");
    for (int number = 0; number < 23; ++number)
        encode(picture(number).get());
    // One call of the drain takes everything out of the encoder; what is left is the record's own.
    EXPECT_EQ(encode(nullptr), 1);
}

// ---- copies of packets ----

PacketPtr packet_of(const char* text) {
    PacketPtr packet(av_packet_alloc());
    av_new_packet(packet.get(), static_cast<int>(std::strlen(text)));
    std::memcpy(packet->data, text, std::strlen(text));
    packet->pts = 17;
    packet->stream_index = 3;
    return packet;
}

std::string text_of(const AVPacket& packet) {
    return {reinterpret_cast<const char*>(packet.data), static_cast<std::size_t>(packet.size)};
}

TEST(PacketCopy, SharesTheBytesAndOutlivesItsSource) {
    PacketPtr source = packet_of("bytes");
    const PacketPtr copy(av_packet_alloc());
    EXPECT_TRUE(copy_packet(*copy, *source));
    EXPECT_EQ(copy->data, source->data);
    EXPECT_EQ(copy->pts, 17);
    EXPECT_EQ(copy->stream_index, 3);
    source.reset();
    EXPECT_EQ(text_of(*copy), "bytes");
}

TEST(PacketCopy, CopiesThePlaceInsideTheBytes) {
    const PacketPtr source = packet_of("bytes");
    source->data += 2;
    source->size -= 2;
    const PacketPtr copy(av_packet_alloc());
    EXPECT_TRUE(copy_packet(*copy, *source));
    EXPECT_EQ(text_of(*copy), "tes");
    source->data += source->size;
    source->size = 0;
    EXPECT_TRUE(copy_packet(*copy, *source));
    EXPECT_EQ(copy->size, 0);
    EXPECT_EQ(copy->data, source->data);
}

TEST(PacketCopy, ReleasesWhatTheTargetHeld) {
    const PacketPtr first = packet_of("first");
    const PacketPtr second = packet_of("second");
    EXPECT_TRUE(copy_packet(*first, *second));
    EXPECT_EQ(text_of(*first), "second");
    EXPECT_TRUE(copy_packet(*first, *first));
    EXPECT_EQ(text_of(*first), "second");
}

TEST(PacketCopy, OfAPacketWithoutBytesHasNone) {
    const PacketPtr empty(av_packet_alloc());
    empty->pts = 5;
    const PacketPtr target = packet_of("held");
    EXPECT_TRUE(copy_packet(*target, *empty));
    EXPECT_EQ(target->data, nullptr);
    EXPECT_EQ(target->buf, nullptr);
    EXPECT_EQ(target->pts, 5);
}

TEST(PacketCopy, OfBytesThatNobodyCountsIsACopyOfThem) {
    char text[] = "borrowed";
    const PacketPtr source(av_packet_alloc());
    source->data = reinterpret_cast<uint8_t*>(text);
    source->size = 8;
    const PacketPtr copy(av_packet_alloc());
    EXPECT_TRUE(copy_packet(*copy, *source));
    text[0] = 'X';
    EXPECT_EQ(text_of(*copy), "borrowed");
}

}  // namespace
}  // namespace qmio::ffmpeg
