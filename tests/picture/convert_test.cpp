// Converting and scaling, as a host does it.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <fstream>
#include <optional>
#include <utility>
#include <vector>

#include "qmio.h"
#include "support/dynamic_library.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::test;
using Bytes = std::vector<uint8_t>;

constexpr int kBgra = 30;
constexpr int kRgb24 = 2;
constexpr int kYuv420p = 0;
constexpr int kPointSampling = 0x10;

imio_picture record(Bytes& bytes, int format, int width, int height) {
    imio_picture made{};
    made.format = format;
    made.data = bytes.data();
    made.width = width;
    made.height = height;
    made.line_size = width * 4;
    made.alignment = 1;
    return made;
}

// Pixels of four bytes, each different from the last.
Bytes gradient(int width, int height) {
    Bytes bytes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    for (std::size_t byte = 0; byte < bytes.size(); ++byte)
        bytes[byte] = static_cast<uint8_t>(byte * 5);
    return bytes;
}

TEST(ConvertPicture, GivesNothingWithoutRecordsOrData) {
    Bytes source = gradient(4, 2), target(32, 9);
    imio_picture from = record(source, kBgra, 4, 2), to = record(target, kBgra, 4, 2);
    EXPECT_EQ(imio_cvt(&to, nullptr), 0);
    from.data = nullptr;
    EXPECT_EQ(imio_cvt(&to, &from), 0);
    from.data = source.data();
    to.data = nullptr;
    EXPECT_EQ(imio_cvt(&to, &from), 0);
    EXPECT_EQ(qmio_cvt(target.data(), kBgra, nullptr, kBgra, 4, 2), 0);
    EXPECT_EQ(target, Bytes(32, 9));
}

TEST(ConvertPicture, ReordersPixels) {
    const Bytes bgra = {1, 2, 3, 255, 4, 5, 6, 255};
    Bytes rgb(6);
    EXPECT_EQ(qmio_cvt(rgb.data(), kRgb24, bgra.data(), kBgra, 2, 1), 1);
    EXPECT_EQ(rgb, (Bytes{3, 2, 1, 6, 5, 4}));
}

TEST(ConvertPicture, ReturnsTheRowsItWrote) {
    const Bytes source = gradient(6, 4);
    Bytes target(3 * 10 * 4);
    EXPECT_EQ(qmio_scale(target.data(), kBgra, 3, 10, source.data(), kBgra, 6, 4), 10);
    EXPECT_EQ(qmio_scale_slice(target.data(), kBgra, 3, 10, source.data(), kBgra, 6, 4), 10);
}

TEST(ConvertPicture, IsTheSameUnderItsTwoNames) {
    Bytes source = gradient(6, 4), one(80), other(80);
    imio_picture from = record(source, kBgra, 6, 4);
    imio_picture first = record(one, kBgra, 5, 4), second = record(other, kBgra, 5, 4);
    EXPECT_EQ(imio_cvt(&first, &from), 4);
    EXPECT_EQ(imio_scale(&second, &from), 4);
    EXPECT_EQ(one, other);
}

TEST(ConvertPicture, TakesFormatsByTheirFrozenNumbers) {
    // GBRP is 82 here, whatever FFmpeg calls it.
    const Bytes bgra = {1, 2, 3, 255};
    Bytes planes(3);
    EXPECT_EQ(qmio_cvt(planes.data(), qmio_fmtid("AV_PIX_FMT_GBRP"), bgra.data(), kBgra, 1, 1), 1);
    EXPECT_EQ(planes, (Bytes{2, 1, 3}));
}

TEST(ConvertPicture, LaysPlanesOutByTheAlignmentAndNotByTheLineSize) {
    Bytes source(5 * 2 * 4, 0xFF);
    Bytes target(32 * 2 + 32 * 1 * 2, 9);
    imio_picture from = record(source, kBgra, 5, 2), to = record(target, kYuv420p, 5, 2);
    from.line_size = to.line_size = 12345;
    to.alignment = 32;
    EXPECT_EQ(imio_cvt(&to, &from), 2);
    EXPECT_EQ(target[32 + 4], 235);       // last luma sample
    EXPECT_EQ(target[64 + 2], 128);       // last sample of the first chroma plane
    EXPECT_EQ(target[64 + 32 + 2], 128);  // and of the second
}

TEST(ConvertPicture, GivesNothingForImpossiblePictures) {
    const Bytes source = gradient(4, 2);
    Bytes target(32, 9);
    for (const int format : {-1, 36, 53, 130, 342, 0x10000, INT_MAX, INT_MIN}) {
        EXPECT_EQ(qmio_cvt(target.data(), format, source.data(), kBgra, 4, 2), 0) << format;
        EXPECT_EQ(qmio_cvt(target.data(), kBgra, source.data(), format, 4, 2), 0) << format;
    }
    for (const int size : {0, -1, INT_MAX, INT_MIN}) {
        EXPECT_EQ(qmio_cvt(target.data(), kBgra, source.data(), kBgra, size, 2), 0) << size;
        EXPECT_EQ(qmio_cvt(target.data(), kBgra, source.data(), kBgra, 4, size), 0) << size;
        for (const int algorithm : {0, 1}) {
            EXPECT_EQ(qmio_scale_ex(target.data(), kBgra, size, 2, source.data(), kBgra, 4, 2, algorithm), 0) << size;
            EXPECT_EQ(qmio_scale_ex(target.data(), kBgra, 4, 2, source.data(), kBgra, 4, size, algorithm), 0) << size;
        }
    }
    imio_picture to = record(target, kRgb24, 4, 2);
    Bytes copy = source;
    const imio_picture from = record(copy, kBgra, 4, 2);
    for (const int alignment : {0, -1, 3}) {
        to.alignment = alignment;
        EXPECT_EQ(imio_cvt(&to, &from), 0) << alignment;
    }
    EXPECT_EQ(target, Bytes(32, 9));
}

TEST(ConvertPicture, ReadsThePaletteBehindThePixels) {
    Bytes paletted(4 + 256 * 4);
    paletted[1] = 7;
    const Bytes colour = {10, 20, 30, 255};
    std::copy(colour.begin(), colour.end(), paletted.begin() + 4 + 7 * 4);
    Bytes target(16);
    EXPECT_EQ(qmio_cvt(target.data(), kBgra, paletted.data(), qmio_fmtid("AV_PIX_FMT_PAL8"), 4, 1), 1);
    EXPECT_EQ(Bytes(target.begin() + 4, target.begin() + 8), colour);
    EXPECT_EQ(qmio_cvt(paletted.data(), qmio_fmtid("AV_PIX_FMT_PAL8"), target.data(), kBgra, 4, 1), 0);
}

TEST(LinearScaling, KeepsAnOpaquePictureOpaque) {
    const Bytes source(std::size_t{64} * 48 * 4, 0xFF);
    for (const auto& [width, height] : {std::pair{32, 24}, {63, 48}, {64, 48}, {100, 75}, {1, 1}}) {
        Bytes target(static_cast<std::size_t>(width * height) * 4);
        EXPECT_EQ(qmio_scale_ex(target.data(), kBgra, width, height, source.data(), kBgra, 64, 48, 0), height);
        EXPECT_EQ(target, Bytes(target.size(), 0xFF)) << width << "x" << height;
    }
}

TEST(ScaleAlgorithm, IsHandedToTheScaler) {
    // Two pixels made four: sampled, no colour in between appears.
    const Bytes source = {0, 0, 0, 255, 200, 200, 200, 255};
    Bytes target(4 * 4);
    EXPECT_EQ(qmio_scale_ex(target.data(), kBgra, 4, 1, source.data(), kBgra, 2, 1, kPointSampling), 1);
    EXPECT_EQ(target, (Bytes{0, 0, 0, 255, 0, 0, 0, 255, 200, 200, 200, 255, 200, 200, 200, 255}));
}

TEST(ScaleAlgorithm, NegativeReachesTheScalerWhichRefusesIt) {
    const Bytes source = gradient(4, 2);
    Bytes target(32, 9);
    EXPECT_EQ(qmio_scale_ex(target.data(), kRgb24, 4, 2, source.data(), kBgra, 4, 2, -1), 0);
    EXPECT_EQ(target, Bytes(32, 9));
}

TEST(ScaleAlgorithm, ZeroOnOtherFormatsIsOne) {
    const Bytes source = gradient(6, 4);
    Bytes zero(10 * 7 * 3), one(10 * 7 * 3);
    EXPECT_EQ(qmio_scale_ex(zero.data(), kRgb24, 10, 7, source.data(), kBgra, 6, 4, 0), 7);
    EXPECT_EQ(qmio_scale_ex(one.data(), kRgb24, 10, 7, source.data(), kBgra, 6, 4, 1), 7);
    EXPECT_EQ(zero, one);
}

TEST(LinearScaling, TakesItsPitchFromTheLineSize) {
    Bytes source(6 * 2 * 4, 50), target(5 * 3 * 4, 9);
    imio_picture from = record(source, kBgra, 4, 2), to = record(target, kBgra, 2, 3);
    from.line_size = 6 * 4;
    to.line_size = 5 * 4 + 3;  // divided by four, cut off
    EXPECT_EQ(imio_scale_ex(&to, &from, 0), 3);
    for (std::size_t row = 0; row < 3; ++row) {
        const auto begin = target.begin() + static_cast<std::ptrdiff_t>(row * 20);
        EXPECT_TRUE(std::all_of(begin, begin + 8, [](int byte) { return byte == 50; })) << row;
        EXPECT_EQ(Bytes(begin + 8, begin + 20), Bytes(12, 9)) << row;
    }
}

TEST(LinearScaling, OfBareBuffersIsThatOfRecords) {
    Bytes source = gradient(6, 4), bare(9 * 5 * 4), recorded(9 * 5 * 4);
    const imio_picture from = record(source, kBgra, 6, 4);
    imio_picture to = record(recorded, kBgra, 9, 5);
    EXPECT_EQ(qmio_scale_ex(bare.data(), kBgra, 9, 5, source.data(), kBgra, 6, 4, 0), 5);
    EXPECT_EQ(imio_scale_ex(&to, &from, 0), 5);
    EXPECT_EQ(bare, recorded);
}

// The library beside a configuration file of its own.
class ConfiguredScaling : public testing::Test {
  protected:
    void configure(const std::string& algorithm) {
        const auto path = folder_ / library_file_name("qmio");
        std::filesystem::copy_file(QMIO_LIBRARY_FILE, path);
        auto configuration = path;
        std::ofstream(configuration.replace_extension(".cfx")) << "<q><scale_alg>" << algorithm << "</scale_alg></q>";
        library_.emplace(path);
        ASSERT_TRUE(library_->loaded()) << library_->error();
        imio_cvt_ = library_->function<decltype(imio_cvt)>("imio_cvt");
        qmio_cvt_ = library_->function<decltype(qmio_cvt)>("qmio_cvt");
        qmio_scale_ = library_->function<decltype(qmio_scale)>("qmio_scale");
    }

    TempDir folder_;
    std::optional<DynamicLibrary> library_;
    decltype(imio_cvt)* imio_cvt_ = nullptr;
    decltype(qmio_cvt)* qmio_cvt_ = nullptr;
    decltype(qmio_scale)* qmio_scale_ = nullptr;
    Bytes source_ = gradient(6, 4);
    Bytes target_ = Bytes(9 * 5 * 4);
};

TEST_F(ConfiguredScaling, OfZeroIsLinearBetweenBgraPictures) {
    configure("0");
    Bytes linear(target_.size());
    ASSERT_EQ(qmio_scale_ex(linear.data(), kBgra, 9, 5, source_.data(), kBgra, 6, 4, 0), 5);
    imio_picture to = record(target_, kBgra, 9, 5);
    const imio_picture from = record(source_, kBgra, 6, 4);
    EXPECT_EQ(imio_cvt_(&to, &from), 5);
    EXPECT_EQ(target_, linear);
    std::fill(target_.begin(), target_.end(), uint8_t{0});
    EXPECT_EQ(qmio_scale_(target_.data(), kBgra, 9, 5, source_.data(), kBgra, 6, 4), 5);
    EXPECT_EQ(target_, linear);
}

TEST_F(ConfiguredScaling, OfAnotherAlgorithmIsUsed) {
    configure("0x10");
    Bytes sampled(target_.size());
    ASSERT_EQ(qmio_scale_ex(sampled.data(), kBgra, 9, 5, source_.data(), kBgra, 6, 4, kPointSampling), 5);
    EXPECT_EQ(qmio_scale_(target_.data(), kBgra, 9, 5, source_.data(), kBgra, 6, 4), 5);
    EXPECT_EQ(target_, sampled);
}

TEST_F(ConfiguredScaling, BelowZeroFailsWhereItIsTakenAsItStands) {
    configure("-1");
    imio_picture to = record(target_, kBgra, 6, 4);
    const imio_picture from = record(source_, kBgra, 6, 4);
    EXPECT_EQ(imio_cvt_(&to, &from), 0);
    EXPECT_EQ(qmio_scale_(target_.data(), kBgra, 6, 4, source_.data(), kBgra, 6, 4), 0);
    EXPECT_EQ(qmio_cvt_(target_.data(), kBgra, source_.data(), kBgra, 6, 4), 4);
}

}  // namespace
