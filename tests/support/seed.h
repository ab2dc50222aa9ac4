// Where tests draw at random: a seed that is printed, so that what failed can be drawn again.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <random>
#include <string_view>

namespace qmio::test {

// `usual`, or what the environment variable QMIO_TEST_SEED says.
inline unsigned printed_seed(unsigned usual) {
    const char* text = std::getenv("QMIO_TEST_SEED");
    const unsigned seed = text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : usual;
    std::cout << "seed " << seed << std::endl;
    return seed;
}

// How many of a sweep's cases are drawn in every run: a quarter on Windows, where they mostly run under Wine and take
// longer.
constexpr int sample_size(int usual) {
#ifdef _WIN32
    return (usual + 3) / 4;
#else
    return usual;
#endif
}

// Whether everything runs that a sweep has, instead of a sample of it.
inline bool runs_whole_sweep() {
    const char* text = std::getenv("QMIO_SWEEP");
    return text != nullptr && std::string_view(text) == "all";
}

// Not the distributions of the standard library: those draw other numbers with every library.
class Dice {
  public:
    explicit Dice(unsigned seed) : random_(seed) {}

    uint32_t number() { return static_cast<uint32_t>(random_()); }
    int up_to(int most) { return 1 + static_cast<int>(random_() % static_cast<unsigned>(most)); }
    template <typename Choices>
    auto one_of(const Choices& choices) {
        return choices[random_() % std::size(choices)];
    }

  private:
    std::mt19937 random_;
};

}  // namespace qmio::test
