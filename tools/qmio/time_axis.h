// Where the marks of a time axis stand.
#pragma once

#include <string>
#include <vector>

namespace host {

struct TimeMark {
    double seconds = 0;
    std::string text;  // "0.5", "12", "1:30", "1:00:00"
};

// Marks at round times from 0 to `seconds`, at most so many of them, and two at least where the time is not 0.
std::vector<TimeMark> time_marks(double seconds, int most);

}  // namespace host
