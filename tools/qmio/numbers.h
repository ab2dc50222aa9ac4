// Numbers as people read them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace host {

// "0:00:05.040": hours, minutes, seconds and thousandths.
std::string time_text(int64_t microseconds);

// Seconds out of "12.5", "1:05" or "1:02:03.25"; nothing for any other text.
std::optional<double> parse_time(const std::string& text);

// "1234 kbit/s"; "not told" for 0.
std::string bit_rate_text(int64_t bits_per_second);

// "25", "29.97 (30000/1001)"; "not told" for a ratio that is none.
std::string rate_text(int64_t num, int64_t den);

// "16:9", in the smallest numbers.
std::string ratio_text(int64_t num, int64_t den);

}  // namespace host
