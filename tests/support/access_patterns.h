// The orders in which tests ask for frames.
#pragma once

#include <string>
#include <vector>

namespace qmio::test {

// At most about `most` of the frames 0 to count - 1, evenly spread, in rising order; some neighbours among them.
std::vector<int> forwards(int count, int most);
std::vector<int> backwards(int count, int most);

// Frames drawn at random. The seed is the environment's QMIO_TEST_SEED, else always the same.
class RandomOrder {
  public:
    RandomOrder(int count, int draws);

    const std::vector<int>& frames() const { return frames_; }
    std::string description() const;  // tells the seed

  private:
    unsigned seed_;
    std::vector<int> frames_;
};

}  // namespace qmio::test
