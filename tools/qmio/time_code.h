// SMPTE time codes as text.
#pragma once

#include <string>

namespace host {

// A time code for pictures at one rate, as it is at another; both in pictures a second. Empty for a text that is none.
std::string time_code_at(const std::string& time_code, double from_rate, double to_rate);

}  // namespace host
