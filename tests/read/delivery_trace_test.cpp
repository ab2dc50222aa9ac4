// What the trace tells of the conversion into the host's picture.
#include <gtest/gtest.h>

#include "support/open_media.h"
#include "support/plain_file.h"
#include "support/temp_dir.h"
#include "support/trace_lines.h"

namespace qmio::test {
namespace {

using Lines = std::vector<std::string>;

constexpr int kPaletted = 11;  // a format that nothing is converted to

// A film of one row of a camera's raw pixels, of which libswscale needs two.
std::filesystem::path film_of_one_row(const TempDir& folder) {
    std::filesystem::path path = folder / "one_row.nut";
    AVFormatContext* made = nullptr;
    avformat_alloc_output_context2(&made, nullptr, nullptr, utf8(path).c_str());
    AVStream* stream = avformat_new_stream(made, nullptr);
    AVCodecParameters& parameters = *stream->codecpar;
    parameters.codec_type = AVMEDIA_TYPE_VIDEO;
    parameters.codec_id = AV_CODEC_ID_RAWVIDEO;
    parameters.format = AV_PIX_FMT_BAYER_RGGB8;
    parameters.codec_tag = MKTAG(0xBA, 'R', 'G', 8);
    parameters.width = 16;
    parameters.height = 1;
    stream->time_base = {1, 25};
    EXPECT_GE(avio_open(&made->pb, utf8(path).c_str(), AVIO_FLAG_WRITE), 0);
    EXPECT_GE(avformat_write_header(made, nullptr), 0);
    for (int number = 0; number < 3; ++number) {
        const Packet packet(av_packet_alloc());
        av_new_packet(packet.get(), 16);
        std::fill_n(packet->data, 16, uint8_t{90});
        packet->pts = packet->dts = av_rescale_q(number, {1, 25}, stream->time_base);
        packet->flags |= AV_PKT_FLAG_KEY;
        EXPECT_GE(av_write_frame(made, packet.get()), 0);
    }
    av_write_trailer(made);
    avio_closep(&made->pb);
    avformat_free_context(made);
    return path;
}

// What the conversions into the picture wrote.
Lines conversion_lines(const TraceLines& trace) {
    Lines lines;
    for (const std::string& line : trace.read())
        if (line.find("cvt") != line.npos)
            lines.push_back(line.substr(line.find_first_of("\t[")));
    return lines;
}

TEST(ConversionTrace, TellsTheRows) {
    const TempDir folder;
    write_bytes(folder / "red.ppm", {'P', '6', ' ', '1', ' ', '1', ' ', '2', '5', '5', '\n', 255, 0, 0});
    const Media media = open_media(folder / "red.ppm");
    ASSERT_NE(media, nullptr);
    const TraceLines trace(TraceSwitch::read);
    EXPECT_GT(next_picture(media).result, 0);
    EXPECT_EQ(conversion_lines(trace), Lines{"\tframe 0: cvt to user pixfmt res 1"});
}

TEST(ConversionTrace, TellsThatNoRowsCame) {
    const TempDir folder;
    const Media media = open_media(film_of_one_row(folder));
    ASSERT_NE(media, nullptr);
    const TraceLines trace(TraceSwitch::read);
    EXPECT_GT(next_picture(media).result, 0);
    EXPECT_EQ(conversion_lines(trace), Lines{"\tframe 0: cvt to user pixfmt res 0"});
}

TEST(ConversionTrace, TellsThatThereIsNoSuchConversion) {
    const TempDir folder;
    const std::filesystem::path path = folder / "red.ppm";
    write_bytes(path, {'P', '6', ' ', '1', ' ', '1', ' ', '2', '5', '5', '\n', 255, 0, 0});
    const Media media = open_media(path);
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(qmio_set_dst_fmt(media.get(), kPaletted), 1);
    Bytes memory(4096);
    imio_picture picture{};
    picture.data = memory.data();
    picture.width = picture.height = picture.alignment = 1;
    const TraceLines trace(TraceSwitch::read);
    EXPECT_GT(imio_read_frame(media.get(), &picture), 0);
    EXPECT_EQ(conversion_lines(trace), Lines{"[" + utf8(path) + "] error get cvt context"});
}

}  // namespace
}  // namespace qmio::test
