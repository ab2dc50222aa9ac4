#include "picture_times.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

// Pictures out of order by less are a file's slips of the pen.
constexpr double kLongestSlip = 1.0;

// Of two pictures that are as near to a time of the new rate the later one is taken, also where the file's clock is coarse:
// every second one out of twice as many.
constexpr double kLater = 0.05;

}  // namespace

double PictureClock::take(std::optional<double> told) {
    if (!last_) {
        last_ = told.value_or(0);
        return *last_;
    }
    const double next = *last_ + period_;
    double time = told ? *told + shift_ : next;
    if (time <= *last_ - kLongestSlip || time > end_ + kLongestSlip) {
        shift_ += next - time;
        time = next;
    }
    last_ = time > *last_ ? time : next;
    return *last_;
}

int64_t RateMatch::times_until(double seconds) {
    const int64_t until = lead_ + static_cast<int64_t>(std::floor(seconds * rate_ + 0.5 + kLater));
    const int64_t times = std::max<int64_t>(until - written_, 0);
    written_ += times;
    return times;
}

}  // namespace host
