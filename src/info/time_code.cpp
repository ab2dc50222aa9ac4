#include "info/time_code.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace qmio::info {

namespace {

constexpr int kSecondsOfDay = 24 * 60 * 60;

// Numbers that drop-frame counting leaves out at the beginning of a minute; 0 for plain counting.
int64_t dropped_in_minute(const TimeCodeCount& count) {
    return count.drop ? count.fps / 15 : 0;
}

int64_t frames_of_ten_minutes(const TimeCodeCount& count) {
    return int64_t{count.fps} * 600 - 9 * dropped_in_minute(count);
}

int64_t frames_of_day(const TimeCodeCount& count) {
    return frames_of_ten_minutes(count) * (kSecondsOfDay / 600);
}

// A frame's number with those before it that are left out.
int64_t with_dropped(const TimeCodeCount& count, int64_t frame) {
    const int64_t dropped = dropped_in_minute(count);
    const int64_t tens = frame / frames_of_ten_minutes(count);
    const int64_t rest = frame % frames_of_ten_minutes(count);
    const int64_t minutes = rest < dropped ? 0 : (rest - dropped) / (int64_t{count.fps} * 60 - dropped);
    return frame + dropped * (9 * tens + minutes);
}

int64_t within_day(const TimeCodeCount& count, int64_t frame) {
    const int64_t rest = frame % frames_of_day(count);
    return rest < 0 ? rest + frames_of_day(count) : rest;
}

struct Fields {
    int hours = 0, minutes = 0, seconds = 0, frames = 0;
    char mark = ':';  // before the frames
};

// A number of up to four digits, taken from the beginning of `text`.
bool take_number(std::string_view& text, int& number) {
    const char* const end = text.data() + std::min<std::size_t>(text.size(), 4);
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || number < 0)
        return false;
    text.remove_prefix(static_cast<std::size_t>(stopped - text.data()));
    return true;
}

bool take_mark(std::string_view& text, char& mark) {
    if (text.empty())
        return false;
    mark = text.front();
    text.remove_prefix(1);
    return mark == ':' || mark == ';' || mark == '.' || mark == ',';
}

std::optional<Fields> parse_fields(std::string_view text) {
    Fields fields;
    const bool whole = take_number(text, fields.hours) && take_mark(text, fields.mark) &&
                       take_number(text, fields.minutes) && take_mark(text, fields.mark) &&
                       take_number(text, fields.seconds) && take_mark(text, fields.mark) &&
                       take_number(text, fields.frames);
    if (!whole || fields.minutes > 59 || fields.seconds > 59)
        return {};
    return fields;
}

int rounded(AVRational rate) {
    if (rate.num < 1 || rate.den < 1)
        return 0;
    return static_cast<int>((int64_t{rate.num} + rate.den / 2) / rate.den);
}

}  // namespace

std::optional<TimeCodeStart> time_code_from_zero(AVRational rate) {
    const int fps = rounded(rate);
    if (fps < 1)
        return {};
    return TimeCodeStart{{fps, false}, 0};
}

std::optional<TimeCodeStart> parse_time_code(std::string_view text, AVRational rate) {
    std::optional<TimeCodeStart> start = time_code_from_zero(rate);
    const std::optional<Fields> fields = parse_fields(text);
    if (!start || !fields)
        return {};
    TimeCodeCount& count = start->count;
    count.drop = fields->mark != ':' && count.fps % 30 == 0;
    const int64_t minutes = int64_t{fields->hours} * 60 + fields->minutes;
    const int64_t number = (minutes * 60 + fields->seconds) * count.fps + fields->frames;
    start->frame = within_day(count, number - dropped_in_minute(count) * (minutes - minutes / 10));
    return start;
}

std::string time_code_text(const TimeCodeStart& start, int64_t frame) {
    const TimeCodeCount& count = start.count;
    const int64_t number = with_dropped(count, within_day(count, start.frame + within_day(count, frame)));
    const auto seconds = static_cast<int>(number / count.fps);
    char text[48];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d%c%0*d", seconds / 3600, seconds / 60 % 60, seconds % 60,
                  count.drop ? ';' : ':', count.fps > 100 ? 3 : 2, static_cast<int>(number % count.fps));
    return text;
}

}  // namespace qmio::info
