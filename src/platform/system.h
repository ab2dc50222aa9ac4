// Small services of the operating system.
#pragma once

#include <cstdint>
#include <string>

namespace qmio::platform {

// The path of the library file that this code was loaded from (the program's when it is linked in), at most 512
// bytes; empty when the system does not tell.
std::string module_path();

struct LocalTime {
    int year, month, day, hour, minute, second, millisecond;
};
LocalTime local_time();

// Milliseconds of a clock that never goes back.
uint32_t tick_count();

// What a number of errno means, in English and UTF-8 whatever the locale; null where the system has no such text.
const char* error_text(int number);

// The value of an environment variable as UTF-8; empty when it is not set.
std::string environment(const char* name);

}  // namespace qmio::platform
