// Time codes as SMPTE 12M counts them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "ffmpeg/ffmpeg.h"

namespace qmio::info {

// How frames are numbered: `fps` numbers a second, and in drop-frame counting the first of each minute left out but for
// every tenth: two of 30, four of 60.
struct TimeCodeCount {
    int fps = 0;
    bool drop = false;
};

// The time code of a file's first frame.
struct TimeCodeStart {
    TimeCodeCount count;
    int64_t frame = 0;  // counted from 00:00:00:00, without the numbers left out
};

// Counting from 00:00:00:00 at a frame rate. Empty for one below a half, which has no numbers, and for no rate.
std::optional<TimeCodeStart> time_code_from_zero(AVRational rate);

// "hh:mm:ss:ff"; any other mark before the frames, as in "hh:mm:ss;ff", means drop-frame counting, where the rate has that.
// Empty for other texts, for minutes and seconds above 59 and for a rate as above.
std::optional<TimeCodeStart> parse_time_code(std::string_view text, AVRational rate);

// The time code of a frame so many after the start (before it, when negative), within the 24 hours of a day. Frames have
// two digits, above 100 numbers a second three.
std::string time_code_text(const TimeCodeStart& start, int64_t frame);

}  // namespace qmio::info
