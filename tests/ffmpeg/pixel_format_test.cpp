// Pixel-format numbers between the interface and the FFmpeg that is linked.
#include "ffmpeg/pixel_format.h"

#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>
#include <vector>

#include "support/frozen_pixel_formats.h"

namespace {

using namespace qmio::ffmpeg;

struct Frozen {
    int32_t number;
    const char* name;
    int format;  // FFmpeg's
};

int format_named(std::string name) {
    for (char& letter : name)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return av_get_pix_fmt(name.c_str());
}

#define FROZEN_KNOWN(number, name) Frozen{number, #name, AV_PIX_FMT_##name},
#define FROZEN_NOTHING(number, name)
// Asked for by name, since later versions do not have the constant.
#define FROZEN_LEAVING(number, name) Frozen{number, #name, format_named(#name)},
const std::vector<Frozen> kKnown = [] {
    std::vector<Frozen> all = {QMIO_FROZEN_PIXEL_FORMATS(FROZEN_KNOWN, FROZEN_NOTHING, FROZEN_LEAVING, FROZEN_NOTHING)};
    std::erase_if(all, [](const Frozen& frozen) { return frozen.format == AV_PIX_FMT_NONE; });
    return all;
}();

#define FROZEN_NUMBER(number, name) number,
// Two dropped names share their number with one that FFmpeg still has, or had until lately.
const int32_t kGone[] = {QMIO_FROZEN_PIXEL_FORMATS(FROZEN_NOTHING, FROZEN_NUMBER, FROZEN_NOTHING, FROZEN_NUMBER)};
#undef FROZEN_NUMBER

bool is_known(int32_t number) {
    for (const Frozen& frozen : kKnown)
        if (frozen.number == number)
            return true;
    return false;
}

TEST(PixelFormatNumber, MeansTheLinkedFormatOfTheSameName) {
    for (const Frozen& frozen : kKnown)
        EXPECT_EQ(pixel_format_from_interface(frozen.number), frozen.format) << frozen.name;
}

TEST(PixelFormatNumber, IsGivenBackForTheFormatOfTheSameName) {
    for (const Frozen& frozen : kKnown)
        EXPECT_EQ(pixel_format_to_interface(frozen.format), frozen.number) << frozen.name;
}

TEST(PixelFormatNumber, OfADroppedFormatIsUnknown) {
    for (const int32_t number : kGone) {
        if (is_known(number))
            continue;
        EXPECT_EQ(pixel_format_from_interface(number), AV_PIX_FMT_NONE) << number;
    }
}

TEST(PixelFormatNumber, GoesToEveryFormatOfTheLinkedFFmpegAndBack) {
    std::set<int32_t> seen;
    const AVPixFmtDescriptor* descriptor = nullptr;
    while ((descriptor = av_pix_fmt_desc_next(descriptor)) != nullptr) {
        const AVPixelFormat format = av_pix_fmt_desc_get_id(descriptor);
        const int32_t number = pixel_format_to_interface(format);
        EXPECT_TRUE(seen.insert(number).second) << descriptor->name;
        EXPECT_EQ(pixel_format_from_interface(number), format) << descriptor->name;
    }
}

TEST(PixelFormatNumber, OfAFormatThatIsNotFrozenIsFFmpegsOwnAboveSixteenBits) {
    EXPECT_EQ(pixel_format_to_interface(AV_PIX_FMT_NV24), 0x10000 + AV_PIX_FMT_NV24);
    EXPECT_EQ(pixel_format_from_interface(0x10000 + AV_PIX_FMT_NV24), AV_PIX_FMT_NV24);
}

TEST(PixelFormatNumber, IsTheOnlyOneOfItsFormat) {
    EXPECT_EQ(pixel_format_from_interface(0x10000 + AV_PIX_FMT_BGRA), AV_PIX_FMT_NONE);
}

TEST(PixelFormatNumber, OutOfRangeIsUnknown) {
    for (const int32_t number : {-1, -2, 130, 294, 342, 343, 0xFFFF, 0x10000 + AV_PIX_FMT_NB, INT32_MAX, INT32_MIN})
        EXPECT_EQ(pixel_format_from_interface(number), AV_PIX_FMT_NONE) << number;
}

TEST(PixelFormatNumber, OfNoFormatIsMinusOne) {
    EXPECT_EQ(pixel_format_to_interface(AV_PIX_FMT_NONE), -1);
}

TEST(PixelFormatAlpha, IsToldByTheFormat) {
    for (const AVPixelFormat format : {AV_PIX_FMT_BGRA, AV_PIX_FMT_YUVA420P, AV_PIX_FMT_YA8, AV_PIX_FMT_PAL8})
        EXPECT_TRUE(has_alpha(format)) << av_get_pix_fmt_name(format);
    for (const AVPixelFormat format : {AV_PIX_FMT_BGR0, AV_PIX_FMT_YUV420P, AV_PIX_FMT_GRAY8, AV_PIX_FMT_NONE})
        EXPECT_FALSE(has_alpha(format)) << format;
    EXPECT_FALSE(has_alpha(100000));
}

}  // namespace
