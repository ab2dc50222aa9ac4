// Linear scaling of 32-bit pixels.
#include "qmpixlib/scale_linear.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <vector>

#include "support/guarded_memory.h"
#include "support/seed.h"

namespace {

using qmio::qm_scale_linear;
using qmio::test::Dice;
using qmio::test::printed_seed;
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

// A size that both pictures may have, small ones the more often.
int drawn_size(Dice& dice) {
    return dice.up_to(dice.up_to(4) == 1 ? 300 : 20);
}

struct Sizes {
    explicit Sizes(Dice& dice)
        : source_width(drawn_size(dice)),
          source_height(drawn_size(dice)),
          width(drawn_size(dice)),
          height(drawn_size(dice)) {}

    Pixels scaled(const Pixels& source) const {
        Pixels target(static_cast<std::size_t>(width * height));
        EXPECT_TRUE(qm_scale_linear(target.data(), width, height, width, source.data(), source_width, source_height,
                                    source_width));
        return target;
    }

    int source_width, source_height, width, height;
};

std::ostream& operator<<(std::ostream& out, const Sizes& sizes) {
    return out << sizes.source_width << 'x' << sizes.source_height << " to " << sizes.width << 'x' << sizes.height;
}

// The exact value of one byte of a target pixel.
class Model {
  public:
    Model(const Pixels& source, const Sizes& sizes) : source_(source), sizes_(sizes) {}

    double value_at(int column, int row, int shift) const {
        const Between x = between(column, sizes_.width, sizes_.source_width);
        const Between y = between(row, sizes_.height, sizes_.source_height);
        const double upper = (1 - x.rest) * at(x.first, y.first, shift) + x.rest * at(x.second, y.first, shift);
        const double lower = (1 - x.rest) * at(x.first, y.second, shift) + x.rest * at(x.second, y.second, shift);
        return (1 - y.rest) * upper + y.rest * lower;
    }

  private:
    struct Between {
        int first, second;
        double rest;
    };

    static Between between(int sample, int target, int source) {
        const double place = std::clamp((sample + 0.5) * source / target - 0.5, 0.0, source - 1.0);
        const int first = static_cast<int>(place);
        return {first, std::min(first + 1, source - 1), place - first};
    }
    double at(int x, int y, int shift) const {
        return value(source_[static_cast<std::size_t>(y * sizes_.source_width + x)] >> shift);
    }

    const Pixels& source_;
    const Sizes& sizes_;
};

// The farthest that any byte lies from the exact value, rounded.
int largest_error(const Pixels& source, const Sizes& sizes) {
    const Pixels target = sizes.scaled(source);
    const Model model(source, sizes);
    int largest = 0;
    for (int pixel = 0; pixel < sizes.width * sizes.height; ++pixel)
        for (int shift = 0; shift < 32; shift += 8) {
            const double exact = model.value_at(pixel % sizes.width, pixel / sizes.width, shift);
            const int scaled = value(target[static_cast<std::size_t>(pixel)] >> shift);
            largest = std::max(largest, std::abs(scaled - static_cast<int>(std::lround(exact))));
        }
    return largest;
}

// Rises or falls steadily in both directions, each byte of a pixel by a slope of its own.
Pixels slope(const Sizes& sizes, Dice& dice) {
    Pixels pixels(static_cast<std::size_t>(sizes.source_width * sizes.source_height));
    for (int shift = 0; shift < 32; shift += 8) {
        const double across = (dice.up_to(201) - 101) / 100.0 * 120 / sizes.source_width;
        const double down = (dice.up_to(201) - 101) / 100.0 * 120 / sizes.source_height;
        for (int pixel = 0; pixel < sizes.source_width * sizes.source_height; ++pixel) {
            const int x = pixel % sizes.source_width, y = pixel / sizes.source_width;
            const double level =
                127.5 + across * (x - sizes.source_width / 2.0) + down * (y - sizes.source_height / 2.0);
            pixels[static_cast<std::size_t>(pixel)] |= static_cast<uint32_t>(std::lround(level)) << shift;
        }
    }
    return pixels;
}

constexpr unsigned kSeed = 20250612;

TEST(ScaleLinear, AnEvenPictureStaysAsItIs) {
    for (int level = 0; level < 256; ++level)
        for (const int source_size : {1, 2, 3, 7, 16, 33})
            for (const int size : {1, 2, 5, 16, 31, 50}) {
                const Pixels source(static_cast<std::size_t>(source_size * source_size), grey(level));
                Pixels target(static_cast<std::size_t>(size * size));
                qm_scale_linear(target.data(), size, size, size, source.data(), source_size, source_size, source_size);
                ASSERT_EQ(target, Pixels(target.size(), grey(level))) << source_size << " to " << size;
            }
}

TEST(ScaleLinear, AnEvenPictureOfAnySizeStaysAsItIs) {
    Dice dice(printed_seed(kSeed));
    for (int round = 0; round < 400; ++round) {
        const Sizes sizes(dice);
        const uint32_t colour = dice.number();
        const Pixels source(static_cast<std::size_t>(sizes.source_width * sizes.source_height), colour);
        const Pixels target = sizes.scaled(source);
        ASSERT_EQ(target, Pixels(target.size(), colour)) << sizes;
    }
}

TEST(ScaleLinear, OpaqueStaysOpaque) {
    Dice dice(printed_seed(kSeed));
    for (int round = 0; round < 100; ++round) {
        const Sizes sizes(dice);
        Pixels source(static_cast<std::size_t>(sizes.source_width * sizes.source_height));
        for (uint32_t& pixel : source)
            pixel = dice.number() | 0xFF000000U;
        for (const uint32_t pixel : sizes.scaled(source))
            ASSERT_EQ(pixel >> 24, 0xFFU) << sizes;
    }
}

TEST(ScaleLinear, ASlopeIsWithinOneOfTheExactValue) {
    Dice dice(printed_seed(kSeed));
    for (int round = 0; round < 300; ++round) {
        const Sizes sizes(dice);
        ASSERT_LE(largest_error(slope(sizes, dice), sizes), 1) << sizes;
    }
}

TEST(ScaleLinear, AnyPictureIsWithinTwoOfTheExactValue) {
    Dice dice(printed_seed(kSeed));
    for (int round = 0; round < 300; ++round) {
        const Sizes sizes(dice);
        Pixels source(static_cast<std::size_t>(sizes.source_width * sizes.source_height));
        for (uint32_t& pixel : source)
            pixel = dice.number();
        ASSERT_LE(largest_error(source, sizes), 2) << sizes;
    }
}

TEST(ScaleLinear, PicturesMayBeStoredFromTheBottomUp) {
    const Pixels source = numbered(3 * 4);
    Pixels bottom_up;
    for (std::size_t row = 4; row-- > 0;)
        bottom_up.insert(bottom_up.end(), &source[row * 3], &source[row * 3] + 3);
    for (const int height : {3, 7}) {
        Pixels upright(static_cast<std::size_t>(5 * height)), turned(upright.size());
        qm_scale_linear(upright.data(), 5, height, 5, source.data(), 3, 4, 3);
        qm_scale_linear(&turned[turned.size() - 5], 5, height, -5, &bottom_up[3 * 3], 3, 4, -3);
        for (std::size_t pixel = 0; pixel < upright.size(); ++pixel)
            EXPECT_EQ(turned[turned.size() - 5 - pixel / 5 * 5 + pixel % 5], upright[pixel]) << height << ' ' << pixel;
    }
}

TEST(ScaleLinear, EqualSizeIsACopy) {
    const Pixels source = numbered(7 * 5);
    Pixels target(source.size());
    qm_scale_linear(target.data(), 7, 5, 7, source.data(), 7, 5, 7);
    EXPECT_EQ(target, source);
}

TEST(ScaleLinear, ScalesRowsOfAnyLength) {
    const Pixels source(40000, grey(90));
    Pixels target(100);
    EXPECT_TRUE(qm_scale_linear(target.data(), 100, 1, 100, source.data(), 40000, 1, 40000));
    EXPECT_EQ(target, Pixels(100, grey(90)));
    EXPECT_TRUE(qm_scale_linear(target.data(), 1, 100, 1, source.data(), 1, 40000, 1));
    EXPECT_EQ(target, Pixels(100, grey(90)));
}

TEST(ScaleLinear, EnlargingKeepsTheCorners) {
    const Pixels source = {grey(10), grey(60), grey(110), grey(240)};
    Pixels target(9 * 6);
    qm_scale_linear(target.data(), 9, 6, 9, source.data(), 2, 2, 2);
    EXPECT_EQ(target[0], source[0]);
    EXPECT_EQ(target[8], source[1]);
    EXPECT_EQ(target[9 * 5], source[2]);
    EXPECT_EQ(target[9 * 6 - 1], source[3]);
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
        EXPECT_EQ(pixel, 0xFF804020U);
}

TEST(ScaleLinear, OnePixelFillsATarget) {
    const uint32_t source = 0x12345678U;
    Pixels target(6 * 4);
    qm_scale_linear(target.data(), 6, 4, 6, &source, 1, 1, 1);
    for (const uint32_t pixel : target)
        EXPECT_EQ(pixel, source);
}

TEST(ScaleLinear, APictureFitsOnePixel) {
    const Pixels source(12, grey(77));
    uint32_t target = 0;
    qm_scale_linear(&target, 1, 1, 1, source.data(), 4, 3, 4);
    EXPECT_EQ(target, grey(77));
}

TEST(ScaleLinear, PitchesMayBeWiderThanTheRows) {
    Pixels source(5 * 3, grey(200));
    for (std::size_t row = 0; row < 3; ++row)
        source[row * 5] = source[row * 5 + 1] = grey(30);
    Pixels target(7 * 4, grey(1));
    qm_scale_linear(target.data(), 4, 4, 7, source.data(), 2, 3, 5);
    for (std::size_t pixel = 0; pixel < target.size(); ++pixel) {
        if (pixel % 7 < 4)
            EXPECT_EQ(target[pixel], grey(30));
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
    qm_scale_linear(target.data(), INT_MAX, 2, INT_MAX, source.data(), 2, 2, 2);
    qm_scale_linear(target.data(), 2, 2, 2, source.data(), INT_MAX, 2, 2);
    qm_scale_linear(nullptr, 2, 2, 2, source.data(), 2, 2, 2);
    qm_scale_linear(target.data(), 2, 2, 2, nullptr, 2, 2, 2);
    EXPECT_EQ(target, Pixels(4, grey(9)));
}

}  // namespace
