// How loud the sound of one channel is over time.
#pragma once

#include <cstdint>
#include <vector>

namespace host {

// The lowest and the highest of some samples, and their power. Full scale is 1.
struct Level {
    float low = 0;
    float high = 0;
    double power = 0;  // sum of the squares
    int64_t samples = 0;

    void take(float value);
    void take(const Level& other);
    double peak() const;
    double rms() const;
};

// Decibels below full scale; -infinity for silence.
double decibels(double amplitude);

// As many levels as a picture of any width needs, however long the sound is.
class LevelMeter {
  public:
    void take(float value);

    // The level of all samples, and that of a part out of `parts` of equal length.
    Level whole() const;
    Level part(int part, int parts) const;

  private:
    void halve();

    std::vector<Level> levels_;
    int64_t samples_ = 64;  // each but the last is of so many
};

}  // namespace host
