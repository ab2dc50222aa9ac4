// One line that tells how far long work has come, made for a terminal of any width.
#pragma once

#include <cstdint>
#include <string>

namespace host {

// What is counted.
enum class Unit {
    frames,        // "120/500 frames", so many a second
    milliseconds,  // of sound: "0:12/1:30", so many times faster than it plays
    bytes          // "12.3/40.1 MB", so many a second
};

struct WorkDone {
    std::string work;
    Unit unit = Unit::frames;
    int64_t done = 0;
    int64_t total = 1;     // at least 1
    double seconds = 0.0;  // spent so far
};

// "convert  24% [####......] 120/500 frames  312.4/s  1 s left", at most `width` characters. Where there is less room the
// bar shrinks, then what stands behind it goes, the last first. Nothing is told of the pace until there is something to go by.
std::string progress_line(const WorkDone& state, int width);

}  // namespace host
