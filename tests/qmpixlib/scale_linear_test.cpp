// Linear scaling of 32-bit pixels.
#include "qmpixlib/scale_linear.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <vector>

#include "support/guarded_memory.h"

namespace {

using qmio::qm_scale_linear;
using Pixels = std::vector<uint32_t>;

// The same value in all four bytes.
constexpr uint32_t grey(int value) {
    return static_cast<uint32_t>(value) * 0x01010101U;
}
int value(uint32_t pixel) {
    return static_cast<int>(pixel & 0xFFU);
}

Pixels numbered(int count) {
    Pixels pixels;
    for (int pixel = 0; pixel < count; ++pixel)
        pixels.push_back(0x01020304U * static_cast<uint32_t>(pixel + 1));
    return pixels;
}

// libyuv interpolates with seven bits, so that a byte may lose as much as three.
constexpr int kRounding = 3;

void expect_near(uint32_t pixel, uint32_t expected) {
    for (int shift = 0; shift < 32; shift += 8)
        EXPECT_NEAR(value(pixel >> shift), value(expected >> shift), kRounding) << "bit " << shift;
}

TEST(ScaleLinear, EqualSizeIsACopy) {
    const Pixels source = numbered(7 * 5);
    Pixels target(source.size());
    qm_scale_linear(target.data(), 7, 5, 7, source.data(), 7, 5, 7);
    EXPECT_EQ(target, source);
}

TEST(ScaleLinear, TellsOfSizesThatItDoesNotScale) {
    const Pixels source(40000, grey(90));
    Pixels target(100);
    EXPECT_FALSE(qm_scale_linear(target.data(), 100, 1, 100, source.data(), 40000, 1, 40000));
    EXPECT_TRUE(qm_scale_linear(target.data(), 100, 1, 100, source.data(), 30000, 1, 30000));
}

TEST(ScaleLinear, EnlargingKeepsTheCorners) {
    const Pixels source = {grey(10), grey(60), grey(110), grey(240)};
    Pixels target(9 * 6);
    qm_scale_linear(target.data(), 9, 6, 9, source.data(), 2, 2, 2);
    expect_near(target[0], source[0]);
    expect_near(target[8], source[1]);
    expect_near(target[9 * 5], source[2]);
    expect_near(target[9 * 6 - 1], source[3]);
}

TEST(ScaleLinear, BetweenTwoPixelsLiesARampInBothDirections) {
    const Pixels source = {grey(0), grey(120), grey(120), grey(240)};
    Pixels target(16 * 16);
    qm_scale_linear(target.data(), 16, 16, 16, source.data(), 2, 2, 2);
    int steps_across = 0, steps_down = 0;
    for (std::size_t step = 1; step < 16; ++step) {
        EXPECT_GE(value(target[step]), value(target[step - 1])) << step;
        EXPECT_GE(value(target[16 * step]), value(target[16 * (step - 1)])) << step;
        steps_across += target[step] != target[step - 1] ? 1 : 0;
        steps_down += target[16 * step] != target[16 * (step - 1)] ? 1 : 0;
    }
    EXPECT_GT(steps_across, 4);
    EXPECT_GT(steps_down, 4);
}

TEST(ScaleLinear, EveryByteOfAPixelIsScaledByItself) {
    const Pixels source = {0xFF804020U, 0xFF804020U};
    Pixels target(5);
    qm_scale_linear(target.data(), 5, 1, 5, source.data(), 2, 1, 2);
    for (const uint32_t pixel : target)
        expect_near(pixel, 0xFF804020U);
}

TEST(ScaleLinear, OnePixelFillsATarget) {
    const uint32_t source = 0x12345678U;
    Pixels target(6 * 4);
    qm_scale_linear(target.data(), 6, 4, 6, &source, 1, 1, 1);
    for (const uint32_t pixel : target)
        expect_near(pixel, source);
}

TEST(ScaleLinear, APictureFitsOnePixel) {
    const Pixels source(12, grey(77));
    uint32_t target = 0;
    qm_scale_linear(&target, 1, 1, 1, source.data(), 4, 3, 4);
    expect_near(target, grey(77));
}

TEST(ScaleLinear, PitchesMayBeWiderThanTheRows) {
    Pixels source(5 * 3, grey(200));
    for (std::size_t row = 0; row < 3; ++row)
        source[row * 5] = source[row * 5 + 1] = grey(30);
    Pixels target(7 * 4, grey(1));
    qm_scale_linear(target.data(), 4, 4, 7, source.data(), 2, 3, 5);
    for (std::size_t pixel = 0; pixel < target.size(); ++pixel) {
        if (pixel % 7 < 4)
            expect_near(target[pixel], grey(30));
        else
            EXPECT_EQ(target[pixel], grey(1)) << pixel;
    }
}

TEST(ScaleLinear, StaysInsideBothPictures) {
    const qmio::test::GuardedMemory from(70 * 20 * 4), to(70 * 20 * 4);
    for (int width = 1; width <= 70; ++width)
        for (const int other : {1, 2, 3, 17, 33, 64, 70})
            for (const int height : {1, 2, 5, 20}) {
                const auto source_size = static_cast<std::size_t>(width) * 5 * 4;
                const auto target_size = static_cast<std::size_t>(other * height) * 4;
                qm_scale_linear(to.at_end(target_size), other, height, other, from.at_end(source_size), width, 5,
                                width);
                qm_scale_linear(to.at_start(), other, height, other, from.at_start(), width, 5, width);
            }
}

TEST(ScaleLinear, DoesNothingWithoutPixels) {
    const Pixels source(4, grey(5));
    Pixels target(4, grey(9));
    for (const int size : {0, -1, INT_MIN}) {
        qm_scale_linear(target.data(), size, 2, 2, source.data(), 2, 2, 2);
        qm_scale_linear(target.data(), 2, size, 2, source.data(), 2, 2, 2);
        qm_scale_linear(target.data(), 2, 2, 2, source.data(), size, 2, 2);
        qm_scale_linear(target.data(), 2, 2, 2, source.data(), 2, size, 2);
    }
    qm_scale_linear(target.data(), 2, 2, INT_MAX, source.data(), 2, 2, 2);
    qm_scale_linear(target.data(), 2, 2, 2, source.data(), 2, 2, INT_MIN);
    qm_scale_linear(nullptr, 2, 2, 2, source.data(), 2, 2, 2);
    qm_scale_linear(target.data(), 2, 2, 2, nullptr, 2, 2, 2);
    EXPECT_EQ(target, Pixels(4, grey(9)));
}

}  // namespace
