#include "time_code.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace host {

std::string time_code_at(const std::string& time_code, double from_rate, double to_rate) {
    int hours = 0, minutes = 0, seconds = 0, frames = 0;
    char mark = ':';
    if (std::sscanf(time_code.c_str(), "%d:%d:%d%c%d", &hours, &minutes, &seconds, &mark, &frames) != 5)
        return "";
    const int from = std::max(static_cast<int>(std::lround(from_rate)), 1);
    const int to = std::max(static_cast<int>(std::lround(to_rate)), 1);
    if (from == to)
        return time_code;
    // Numbers are dropped at multiples of 30 pictures a second alone.
    const char new_mark = mark != ':' && to % 30 == 0 ? mark : ':';
    char text[64];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d%c%02d", hours, minutes, seconds, new_mark,
                  static_cast<int>(int64_t{frames} * to / from));
    return text;
}

}  // namespace host
