// Codecs, formats and pixel formats by their names and numbers, held against FFmpeg's own.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <gtest/gtest.h>
#include <qmio.h>

#include <map>
#include <string>
#include <utility>

#include "info/registries.h"

namespace qmio::test {
namespace {

intptr_t address(const void* object) {
    return reinterpret_cast<intptr_t>(object);
}

TEST(GetId, CodecsAreFoundByTheirNames) {
    for (const AVCodec* codec : codecs_of_ffmpeg()) {
        const intptr_t decoder = address(avcodec_find_decoder_by_name(codec->name));
        EXPECT_EQ(qmio_get_id(codec->name, "codec"), decoder) << codec->name;
        EXPECT_EQ(qmio_get_id(codec->name, "decoder"), decoder) << codec->name;
        EXPECT_EQ(qmio_get_id(codec->name, "encoder"), address(avcodec_find_encoder_by_name(codec->name)))
            << codec->name;
    }
    EXPECT_NE(qmio_get_id("mjpeg", "decoder"), qmio_get_id("mjpeg", "encoder"));
    EXPECT_NE(qmio_get_id("mjpeg", "decoder"), 0);
}

TEST(GetId, FormatsAreFoundByTheirNames) {
    EXPECT_EQ(qmio_get_id("matroska", "fmt"), address(av_find_input_format("matroska")));
    EXPECT_EQ(qmio_get_id("matroska", "ofmt"), address(av_guess_format("matroska", nullptr, nullptr)));
    EXPECT_NE(qmio_get_id("matroska", "fmt"), 0);
    EXPECT_NE(qmio_get_id("matroska", "ofmt"), 0);
    EXPECT_NE(qmio_get_id("mp4", "fmt"), qmio_get_id("mp4", "ofmt"));
}

TEST(GetId, UnknownNamesOfObjectsGiveNull) {
    for (const char* kind : {"codec", "decoder", "encoder", "fmt", "ofmt"}) {
        EXPECT_EQ(qmio_get_id("no such thing", kind), 0) << kind;
        EXPECT_EQ(qmio_get_id("", kind), 0) << kind;
        EXPECT_EQ(qmio_get_id(nullptr, kind), 0) << kind;
    }
}

TEST(GetId, PixelFormatsHaveTheInterfacesNumbers) {
    EXPECT_EQ(qmio_get_id("bgra", "pix"), 30);
    EXPECT_EQ(qmio_get_id("yuv420p", "pix"), 0);
    EXPECT_EQ(qmio_get_id("0rgb", "pix"), 295);
    EXPECT_EQ(qmio_get_id("rgb565", "pix"), 44);
    EXPECT_EQ(qmio_get_id("no such thing", "pix"), -1);
    EXPECT_EQ(qmio_get_id("", "pix"), -1);
    EXPECT_EQ(qmio_get_id(nullptr, "pix"), -1);
}

TEST(GetId, SampleFormatsHaveFfmpegsNumbersAndTheCodesOfTheInterface) {
    const std::map<std::string, std::pair<int, int>> formats = {
        {"u8", {0, 8}},     {"s16", {1, 16}},   {"s32", {2, 32}},   {"flt", {3, 0}},
        {"dbl", {4, 64}},   {"s64", {10, 128}}, {"u8p", {5, -8}},   {"s16p", {6, -16}},
        {"s32p", {7, -32}}, {"fltp", {8, -1}},  {"dblp", {9, -64}}, {"s64p", {11, -128}}};
    ASSERT_EQ(formats.size(), 12U);
    for (const auto& [name, values] : formats) {
        EXPECT_EQ(qmio_get_id(name.c_str(), "sample_fmt"), values.first) << name;
        EXPECT_EQ(qmio_get_id(name.c_str(), "sample_bits"), values.second) << name;
    }
    EXPECT_EQ(qmio_get_id("s24", "sample_fmt"), -1);
    EXPECT_EQ(qmio_get_id("s24", "sample_bits"), 0);
    EXPECT_EQ(qmio_get_id(nullptr, "sample_fmt"), -1);
    EXPECT_EQ(qmio_get_id(nullptr, "sample_bits"), -1);
}

TEST(GetId, KindsAreCaseSensitiveAndOthersGiveMinusOne) {
    for (const char* kind : {"Codec", "ENCODER", "Pix", "SAMPLE_FMT", "", "muxer", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(qmio_get_id("mjpeg", kind), -1);
        EXPECT_EQ(qmio_get_id(nullptr, kind), -1);
    }
}

// ---- pixel formats ----

// Runs `check` with the interface's number and FFmpeg's of every format that the linked FFmpeg has.
template <class Check>
void for_each_pixel_format(Check check) {
    for (const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_next(nullptr); descriptor != nullptr;
         descriptor = av_pix_fmt_desc_next(descriptor)) {
        const AVPixelFormat list[] = {av_pix_fmt_desc_get_id(descriptor), AV_PIX_FMT_NONE};
        check(in_interface_numbers(list)[0], *descriptor, list[0]);
    }
}

TEST(PixelInfo, NameAndAlphaAreThoseOfFfmpeg) {
    for_each_pixel_format([](int32_t number, const AVPixFmtDescriptor& descriptor, AVPixelFormat) {
        EXPECT_STREQ(qmio_get_pix_info(number, "name"), descriptor.name);
        const bool alpha = (descriptor.flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
        EXPECT_STREQ(qmio_get_pix_info(number, "ALPHA"), alpha ? "true" : nullptr) << descriptor.name;
    });
    EXPECT_STREQ(qmio_get_pix_info(30, "Name"), "bgra");
    EXPECT_STREQ(qmio_get_pix_info(30, "alpha"), "true");
    EXPECT_STREQ(qmio_get_pix_info(0, "alpha"), nullptr);
}

TEST(PixelInfo, NumbersWithoutAFormatHaveNoNameAndNoAlpha) {
    for (const int number : {-1, -2, 200, 5000, 0x10000 + 9999, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(qmio_get_pix_info(number, "name"), nullptr) << number;
        EXPECT_EQ(qmio_get_pix_info(number, "alpha"), nullptr) << number;
    }
}

TEST(PixelInfo, SampleReadsTheNumberAsASampleFormat) {
    for (int number = 0; number < AV_SAMPLE_FMT_NB; ++number)
        EXPECT_STREQ(qmio_get_pix_info(number, "sample"), av_get_sample_fmt_name(static_cast<AVSampleFormat>(number)));
    EXPECT_STREQ(qmio_get_pix_info(1, "SAMPLE"), "s16");
    for (const int number : {-1, int{AV_SAMPLE_FMT_NB}, 30, INT32_MAX, INT32_MIN})
        EXPECT_EQ(qmio_get_pix_info(number, "sample"), nullptr) << number;
}

TEST(PixelInfo, OtherKeysGiveAnEmptyText) {
    for (const char* key : {"", "names", "description", static_cast<const char*>(nullptr)}) {
        EXPECT_STREQ(qmio_get_pix_info(30, key), "");
        EXPECT_STREQ(qmio_get_pix_info(5000, key), "");
    }
}

TEST(BufferSize, IsThatOfAPictureWithRowsAlignedTo16) {
    for_each_pixel_format([](int32_t number, const AVPixFmtDescriptor& descriptor, AVPixelFormat format) {
        for (const int width : {1, 161, 320})
            EXPECT_EQ(qmio_get_bufsize(number, width, 7), av_image_get_buffer_size(format, width, 7, 16))
                << descriptor.name;
    });
    EXPECT_EQ(qmio_get_bufsize(30, 161, 3), 656 * 3);
    EXPECT_EQ(qmio_get_bufsize(0, 161, 121), 176 * 121 + 2 * 96 * 61);
}

TEST(BufferSize, IsNegativeWhereThereIsNoSuchPicture) {
    EXPECT_LT(qmio_get_bufsize(-1, 16, 16), 0);
    EXPECT_LT(qmio_get_bufsize(5000, 16, 16), 0);
    EXPECT_LT(qmio_get_bufsize(30, 0, 16), 0);
    EXPECT_LT(qmio_get_bufsize(30, 16, -1), 0);
    EXPECT_LT(qmio_get_bufsize(30, INT32_MAX, INT32_MAX), 0);
}

}  // namespace
}  // namespace qmio::test
