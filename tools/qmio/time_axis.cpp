#include "time_axis.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace host {

namespace {

constexpr double kSteps[] = {0.001, 0.002, 0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.5,  1,    2,    5,
                             10,    15,    30,    60,   120,  300,  600, 900, 1800, 3600, 7200, 14400};

double step_of(double seconds, int most) {
    const double intervals = std::max(most - 1, 1);
    for (const double step : kSteps)
        if (seconds <= step * intervals)
            return step;
    return std::ceil(seconds / intervals / 86400) * 86400;
}

std::string text_at(double time, double step) {
    const auto whole = static_cast<long long>(std::llround(time));
    char text[64];
    if (step < 1)
        std::snprintf(text, sizeof text, step < 0.01 ? "%.3f" : step < 0.1 ? "%.2f" : "%.1f", time);
    else if (whole >= 3600)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
    else if (whole >= 60)
        std::snprintf(text, sizeof text, "%lld:%02lld", whole / 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%lld", whole);
    return text;
}

}  // namespace

std::vector<TimeMark> time_marks(double seconds, int most) {
    std::vector<TimeMark> marks;
    if (!(seconds >= 0))
        return marks;
    const double step = step_of(seconds, most);
    for (int count = 0; count * step <= seconds * (1 + 1e-9); ++count)
        marks.push_back({count * step, text_at(count * step, step)});
    return marks;
}

}  // namespace host
