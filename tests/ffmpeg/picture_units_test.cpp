// Packets that a decoder which leaves out pictures to which no other refers need not get: FFmpeg's own decoders say what
// becomes of the others without them.
#include "ffmpeg/picture_units.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <vector>

#include "ffmpeg/owners.h"
#include "support/media.h"
#include "support/picture_hash.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::ffmpeg;
using namespace qmio::test;

// The packets of a film's pictures, and what their decoder is opened with.
struct Film {
    explicit Film(const std::filesystem::path& path) {
        AVFormatContext* opened = nullptr;
        if (avformat_open_input(&opened, utf8(path).c_str(), nullptr, nullptr) < 0)
            return;
        container.reset(opened);
        avformat_find_stream_info(opened, nullptr);
        const int index = av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        if (index < 0)
            return;
        parameters = opened->streams[index]->codecpar;
        for (PacketPtr packet(av_packet_alloc()); av_read_frame(opened, packet.get()) >= 0;) {
            if (packet->stream_index == index)
                packets.emplace_back(av_packet_clone(packet.get()));
            av_packet_unref(packet.get());
        }
    }

    FormatContextPtr container;
    const AVCodecParameters* parameters = nullptr;
    std::vector<PacketPtr> packets;
};

struct Decoded {
    bool operator==(const Decoded&) const = default;

    int64_t pts;
    uint64_t hash;
};

void receive(AVCodecContext& decoder, std::vector<Decoded>& pictures) {
    for (FramePtr frame(av_frame_alloc()); avcodec_receive_frame(&decoder, frame.get()) >= 0;) {
        PictureHash luma;
        for (int row = 0; row < frame->height; ++row)
            luma.add_row(frame->data[0] + static_cast<std::ptrdiff_t>(row) * frame->linesize[0],
                         static_cast<std::size_t>(frame->width & ~3));
        pictures.push_back({frame->pts, luma.value()});
    }
}

// On one thread, without the pictures to which no other refers.
std::vector<Decoded> decode_references(const Film& film, const std::vector<const AVPacket*>& packets) {
    const AVCodec* const codec = avcodec_find_decoder(film.parameters->codec_id);
    const CodecContextPtr decoder(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(decoder.get(), film.parameters);
    decoder->thread_count = 1;
    decoder->skip_frame = AVDISCARD_NONREF;
    std::vector<Decoded> pictures;
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0)
        return pictures;
    for (const AVPacket* packet : packets) {
        avcodec_send_packet(decoder.get(), packet);
        receive(*decoder, pictures);
    }
    avcodec_send_packet(decoder.get(), nullptr);
    receive(*decoder, pictures);
    return pictures;
}

// How many packets of the film nobody needs.
int compare(const std::filesystem::path& path) {
    SCOPED_TRACE(utf8(path));
    const Film film(path);
    if (film.parameters == nullptr)
        return 0;
    const NonReference non_reference(*film.parameters);
    std::vector<const AVPacket*> all;
    std::vector<const AVPacket*> needed;
    for (const PacketPtr& packet : film.packets) {
        all.push_back(packet.get());
        if (!non_reference.is_all_of(*packet))
            needed.push_back(packet.get());
    }
    if (needed.size() == all.size())
        return 0;
    EXPECT_EQ(decode_references(film, needed), decode_references(film, all));
    return static_cast<int>(all.size() - needed.size());
}

TEST(NonReference, PacketsAreNotMissedByADecoderThatLeavesThemOut) {
    for (const char* name : {"plain.mp4", "h264.mkv", "h264.ts", "raw.h264", "fragmented.mp4", "h264_open_gop.ts",
                             "bframes_open_gop.mp4", "hevc.ts", "hevc_open_gop.mp4", "live_hevc.mkv"})
        EXPECT_GT(compare(media_path(name)), 0) << name;
}

TEST(NonReference, PacketsOfRealFilmsAreNotMissedEither) {
    if (real_files().empty())
        GTEST_SKIP() << "no folder of real media";
    int found = 0;
    for (const RealFile& file : real_files())
        if (file.has_video && file.opens)
            found += compare(real_media(file.name));
    std::cout << found << " packets that nobody needs" << std::endl;
    EXPECT_GT(found, 0);
}

TEST(NonReference, PicturesOfOtherCodecsAreNotKnown) {
    for (const char* name : {"mpeg4_bframes.avi", "mpeg2.ts", "small_vp8.webm"})
        EXPECT_EQ(compare(media_path(name)), 0) << name;
}

// Of H.264 with start codes: what makes a packet one that is needed. Messages may be about more than their picture.
TEST(NonReference, PacketsHoldNothingElse) {
    AVCodecParameters parameters{};
    parameters.codec_id = AV_CODEC_ID_H264;
    const NonReference non_reference(parameters);
    const auto is_needed = [&](std::vector<uint8_t> bytes) {
        const PacketPtr packet(av_packet_alloc());
        av_new_packet(packet.get(), static_cast<int>(bytes.size()));
        std::copy(bytes.begin(), bytes.end(), packet->data);
        return !non_reference.is_all_of(*packet);
    };
    constexpr uint8_t kPicture = 0x01, kReference = 0x21, kHeaders = 0x07, kMessage = 0x06, kDelimiter = 0x09;
    EXPECT_FALSE(is_needed({0, 0, 1, kPicture, 5, 5}));
    EXPECT_FALSE(is_needed({0, 0, 0, 1, kDelimiter, 16, 0, 0, 1, kPicture, 5, 5, 0, 0, 1, kPicture, 6, 6}));
    EXPECT_TRUE(is_needed({0, 0, 1, kReference, 5, 5}));
    EXPECT_TRUE(is_needed({0, 0, 1, kPicture, 5, 5, 0, 0, 1, kReference, 6, 6}));
    EXPECT_TRUE(is_needed({0, 0, 1, kHeaders, 5, 5, 0, 0, 1, kPicture, 6, 6}));
    EXPECT_TRUE(is_needed({0, 0, 1, kMessage, 5, 5, 0, 0, 1, kPicture, 6, 6}));
    EXPECT_TRUE(is_needed({0, 0, 1, kDelimiter, 16}));
    EXPECT_TRUE(is_needed({9, 9, 9, 9, 9, 9}));
}

// The same with lengths: one that leads beyond the packet, and headers that come beside it.
TEST(NonReference, PacketsWithLengthsAreWhole) {
    std::vector<uint8_t> extradata{1, 66, 0, 10, 0xFF, 0xE1, 0, 0};
    AVCodecParameters parameters{};
    parameters.codec_id = AV_CODEC_ID_H264;
    parameters.extradata = extradata.data();
    parameters.extradata_size = static_cast<int>(extradata.size());
    const NonReference non_reference(parameters);
    const PacketPtr packet(av_packet_alloc());
    av_new_packet(packet.get(), 4 + 0x0104);
    std::fill_n(packet->data, packet->size, uint8_t{5});
    const uint8_t beginning[] = {0, 0, 1, 4, 0x01};
    std::copy(std::begin(beginning), std::end(beginning), packet->data);
    EXPECT_TRUE(non_reference.is_all_of(*packet));
    packet->data[3] = 5;
    EXPECT_FALSE(non_reference.is_all_of(*packet));
    packet->data[3] = 3;
    EXPECT_FALSE(non_reference.is_all_of(*packet));
    packet->data[3] = 4;
    av_packet_new_side_data(packet.get(), AV_PKT_DATA_NEW_EXTRADATA, 8);
    EXPECT_FALSE(non_reference.is_all_of(*packet));
}

}  // namespace
