// The times of pictures, and a constant rate for them.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>

namespace host {

// Makes times that only go forward out of what a file tells: what it does not tell, or what does not go forward, lies a
// period behind the picture before; what leaps back or beyond the end of the file is a clock that was set anew, and goes on
// from there. All in seconds.
class PictureClock {
  public:
    // `end`: no picture lies behind it.
    explicit PictureClock(double period, double end = std::numeric_limits<double>::infinity())
        : period_(period), end_(end) {}

    double take(std::optional<double> told);

  private:
    double period_;
    double end_;
    double shift_ = 0;
    std::optional<double> last_;
};

// How often pictures have to be written so that they are shown at a constant rate when they were shown: each until the next.
class RateMatch {
  public:
    // `rate` in pictures a second; the first picture stands for `lead` more of them.
    RateMatch(double rate, int64_t lead) : rate_(rate), lead_(lead) {}

    // The picture before the one that comes `seconds` behind the first, or before the end: how often it is written.
    int64_t times_until(double seconds);

    int64_t written() const { return written_; }

  private:
    double rate_;
    int64_t lead_;
    int64_t written_ = 0;
};

}  // namespace host
