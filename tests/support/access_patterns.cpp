#include "support/access_patterns.h"

#include <algorithm>
#include <cstdlib>
#include <random>

namespace qmio::test {

namespace {

constexpr unsigned kSeed = 20240917;
constexpr int kNeighbours = 3;  // frames in a row, then a leap

unsigned seed_of_environment() {
    const char* seed = std::getenv("QMIO_TEST_SEED");
    return seed != nullptr ? static_cast<unsigned>(std::strtoul(seed, nullptr, 10)) : kSeed;
}

}  // namespace

std::vector<int> forwards(int count, int most) {
    const int leap = std::max(1, (count * kNeighbours + most - 1) / most);
    std::vector<int> frames;
    for (int frame = 0; frame < count; ++frame) {
        if (frame % leap < kNeighbours || frame == count - 1)
            frames.push_back(frame);
    }
    return frames;
}

std::vector<int> backwards(int count, int most) {
    std::vector<int> frames = forwards(count, most);
    std::reverse(frames.begin(), frames.end());
    return frames;
}

RandomOrder::RandomOrder(int count, int draws) : seed_(seed_of_environment()) {
    std::mt19937 generator(seed_);
    // Not a distribution of the standard library: those draw other numbers with every library.
    for (int draw = 0; draw < draws; ++draw)
        frames_.push_back(static_cast<int>(generator() % static_cast<unsigned>(count)));
}

std::string RandomOrder::description() const {
    return "seed " + std::to_string(seed_) + " (set QMIO_TEST_SEED to change it)";
}

}  // namespace qmio::test
