// The ring of samples: what goes in comes out, in order, and never more than it was made for.
#include "qmlib/audio_ring.h"

#include <gtest/gtest.h>

#include <deque>
#include <numeric>
#include <random>
#include <vector>

namespace qmio::qmlib {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes counting(std::size_t bytes, int first = 1) {
    Bytes data(bytes);
    std::iota(data.begin(), data.end(), static_cast<uint8_t>(first));
    return data;
}

TEST(AudioRing, GivesBackWhatWasPutInInOrder) {
    const auto ring = AudioRing::create(100, 2, 2, false);
    const Bytes data = counting(40);
    EXPECT_EQ(ring->write(data.data(), 10), 10);
    EXPECT_EQ(ring->ready(), 10);
    Bytes out(24);
    EXPECT_EQ(ring->read(out.data(), 6), 6);
    EXPECT_EQ(out, Bytes(data.begin(), data.begin() + 24));
    EXPECT_EQ(ring->ready(), 4);
    out.resize(16);
    EXPECT_EQ(ring->read(out.data(), 4), 4);
    EXPECT_EQ(out, Bytes(data.begin() + 24, data.end()));
    EXPECT_EQ(ring->ready(), 0);
}

TEST(AudioRing, GivesAllThatIsAskedForOrNothing) {
    const auto ring = AudioRing::create(100, 1, 1, false);
    const Bytes data = counting(5);
    Bytes out(6, 0xEE);
    EXPECT_EQ(ring->read(out.data(), 1), 0);
    ring->write(data.data(), 5);
    EXPECT_EQ(ring->read(out.data(), 6), 0);
    EXPECT_EQ(out, Bytes(6, 0xEE));
    EXPECT_EQ(ring->read(out.data(), 0), 0);
    EXPECT_EQ(ring->read(out.data(), -1), 0);
    EXPECT_EQ(ring->ready(), 5);
    EXPECT_EQ(ring->read(out.data(), 5), 5);
}

TEST(AudioRing, TakesNoMoreThanItsCapacity) {
    const auto ring = AudioRing::create(8, 1, 1, false);
    const Bytes data = counting(20);
    EXPECT_EQ(ring->write(data.data(), 5), 5);
    EXPECT_EQ(ring->write(data.data() + 5, 15), 3);
    EXPECT_EQ(ring->write(data.data(), 1), 0);
    EXPECT_EQ(ring->fill(0, 1), 0);
    EXPECT_EQ(ring->ready(), 8);
    Bytes out(8);
    EXPECT_EQ(ring->read(out.data(), 8), 8);
    EXPECT_EQ(out, Bytes(data.begin(), data.begin() + 8));
    EXPECT_EQ(ring->write(data.data(), 20), 8);
}

TEST(AudioRing, FillsWithOneByte) {
    const auto ring = AudioRing::create(10, 2, 3, false);
    EXPECT_EQ(ring->fill(128, 4), 4);
    EXPECT_EQ(ring->fill(7, 100), 6);
    EXPECT_EQ(ring->fill(7, -1), 0);
    Bytes out(60);
    EXPECT_EQ(ring->read(out.data(), 10), 10);
    Bytes expected(24, 128);
    expected.resize(60, 7);
    EXPECT_EQ(out, expected);
}

TEST(AudioRing, KeepsPlanesApart) {
    const auto ring = AudioRing::create(10, 2, 2, true);
    // Each plane is as long as the count of its call.
    const Bytes first = {1, 2, 3, 4, 5, 6, 101, 102, 103, 104, 105, 106};
    const Bytes second = {7, 8, 107, 108};
    EXPECT_EQ(ring->write(first.data(), 3), 3);
    EXPECT_EQ(ring->write(second.data(), 1), 1);
    Bytes out(8);
    EXPECT_EQ(ring->read(out.data(), 2), 2);
    EXPECT_EQ(out, (Bytes{1, 2, 3, 4, 101, 102, 103, 104}));
    EXPECT_EQ(ring->read(out.data(), 2), 2);
    EXPECT_EQ(out, (Bytes{5, 6, 7, 8, 105, 106, 107, 108}));
}

TEST(AudioRing, TakesOfEveryPlaneWhatFits) {
    const auto ring = AudioRing::create(2, 1, 2, true);
    const Bytes data = {1, 2, 3, 101, 102, 103};
    EXPECT_EQ(ring->write(data.data(), 3), 2);
    Bytes out(4);
    EXPECT_EQ(ring->read(out.data(), 2), 2);
    EXPECT_EQ(out, (Bytes{1, 2, 101, 102}));
}

TEST(AudioRing, FillsEveryPlane) {
    const auto ring = AudioRing::create(4, 1, 3, true);
    EXPECT_EQ(ring->fill(9, 2), 2);
    Bytes out(6);
    EXPECT_EQ(ring->read(out.data(), 2), 2);
    EXPECT_EQ(out, Bytes(6, 9));
}

TEST(AudioRing, OfNoFormIsNone) {
    EXPECT_EQ(AudioRing::create(10, 0, 2, false), nullptr);
    EXPECT_EQ(AudioRing::create(10, 3, 2, false), nullptr);
    EXPECT_EQ(AudioRing::create(10, 16, 2, false), nullptr);
    EXPECT_EQ(AudioRing::create(10, 2, 0, false), nullptr);
    EXPECT_EQ(AudioRing::create(10, 2, -1, false), nullptr);
    EXPECT_EQ(AudioRing::create(0, 2, 2, false), nullptr);
    EXPECT_EQ(AudioRing::create(10, 2, 65, true), nullptr);
    EXPECT_NE(AudioRing::create(10, 2, 65, false), nullptr);
    EXPECT_NE(AudioRing::create(10, 8, 64, true), nullptr);
}

// Against a queue: pieces of any length in and out, around the end of the ring again and again.
TEST(AudioRing, BehavesLikeAQueueOfItsCapacity) {
    std::mt19937 random(7);
    SCOPED_TRACE("seed 7");
    const auto ring = AudioRing::create(50, 1, 1, false);
    std::deque<uint8_t> queue;
    for (int step = 0; step < 2000; ++step) {
        const std::size_t count = random() % 40;
        if (random() % 2 == 0) {
            const Bytes data = counting(count, step);
            const int written = ring->write(data.data(), static_cast<int>(count));
            EXPECT_EQ(static_cast<std::size_t>(written), std::min(count, 50 - queue.size()));
            queue.insert(queue.end(), data.begin(), data.begin() + written);
        } else {
            Bytes out(count);
            const int read = ring->read(out.data(), static_cast<int>(count));
            EXPECT_EQ(static_cast<std::size_t>(read), count <= queue.size() ? count : 0);
            EXPECT_TRUE(std::equal(out.begin(), out.begin() + read, queue.begin()));
            queue.erase(queue.begin(), queue.begin() + read);
        }
        EXPECT_EQ(ring->ready(), static_cast<int>(queue.size()));
    }
}

}  // namespace
}  // namespace qmio::qmlib
