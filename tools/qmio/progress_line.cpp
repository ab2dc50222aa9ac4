#include "progress_line.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace host {

namespace {

constexpr int kWidestBar = 40;
constexpr int kNarrowestBar = 10;
constexpr int kBarFrame = 3;        // brackets and a blank
constexpr double kLeastTime = 0.2;  // before it the pace is chance

template <class... Values>
std::string print(const char* format, Values... values) {
    char text[128];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

double fraction(const WorkDone& state) {
    return std::clamp(static_cast<double>(state.done) / static_cast<double>(state.total), 0.0, 1.0);
}

// "12", "1:05", "1:02:03"
std::string clock(int64_t seconds) {
    if (seconds >= 3600)
        return print("%d:%02d:%02d", static_cast<int>(seconds / 3600), static_cast<int>(seconds / 60 % 60),
                     static_cast<int>(seconds % 60));
    return print("%d:%02d", static_cast<int>(seconds / 60), static_cast<int>(seconds % 60));
}

struct Scale {
    double one;
    const char* name;
};

// The unit in which a number of bytes is short.
Scale scale_of(double bytes) {
    for (const Scale scale : {Scale{1e9, "GB"}, {1e6, "MB"}, {1e3, "kB"}})
        if (bytes >= scale.one)
            return scale;
    return {1, "bytes"};
}

std::string count_text(const WorkDone& state) {
    if (state.unit == Unit::milliseconds)
        return clock(state.done / 1000) + "/" + clock(state.total / 1000);
    if (state.unit == Unit::frames)
        return std::to_string(state.done) + "/" + std::to_string(state.total) + " frames";
    const Scale scale = scale_of(static_cast<double>(state.total));
    const char* const format = scale.one > 1 ? "%.1f/%.1f %s" : "%.0f/%.0f %s";
    return print(format, static_cast<double>(state.done) / scale.one, static_cast<double>(state.total) / scale.one,
                 scale.name);
}

std::string pace_text(const WorkDone& state) {
    const double per_second = static_cast<double>(state.done) / state.seconds;
    if (state.unit == Unit::milliseconds)
        return print("%.1fx", per_second / 1000);
    if (state.unit == Unit::frames)
        return print(per_second < 100 ? "%.1f/s" : "%.0f/s", per_second);
    const Scale scale = scale_of(per_second);
    return print("%.1f %s/s", per_second / scale.one, scale.name);
}

std::string left_text(const WorkDone& state) {
    const double per_second = static_cast<double>(state.done) / state.seconds;
    const auto left = static_cast<double>(std::max<int64_t>(state.total - state.done, 0));
    const auto seconds = static_cast<int64_t>(std::ceil(left / per_second));
    return seconds < 60 ? std::to_string(seconds) + " s left" : clock(seconds) + " left";
}

std::vector<std::string> texts_behind_bar(const WorkDone& state) {
    std::vector<std::string> texts = {count_text(state)};
    if (state.done > 0 && state.seconds >= kLeastTime) {
        texts.push_back(pace_text(state));
        texts.push_back(left_text(state));
    }
    return texts;
}

std::string bar(const WorkDone& state, int width) {
    const auto filled = static_cast<std::size_t>(std::floor(fraction(state) * width));
    return " [" + std::string(filled, '#') + std::string(static_cast<std::size_t>(width) - filled, '.') + "]";
}

}  // namespace

std::string progress_line(const WorkDone& state, int width) {
    const auto room = static_cast<std::size_t>(std::max(width, 0));
    const std::string head = state.work + print(" %3d%%", static_cast<int>(fraction(state) * 100));
    std::string behind;
    for (const std::string& text : texts_behind_bar(state)) {
        const std::string more = (behind.empty() ? " " : "  ") + text;
        if (head.size() + kBarFrame + kNarrowestBar + behind.size() + more.size() > room)
            break;
        behind += more;
    }
    const int free = static_cast<int>(room) - static_cast<int>(head.size() + behind.size()) - kBarFrame;
    const std::string line =
        free >= kNarrowestBar ? head + bar(state, std::min(free, kWidestBar)) + behind : head + behind;
    return line.size() <= room ? line : head.substr(head.size() - std::min(head.size(), room));
}

}  // namespace host
