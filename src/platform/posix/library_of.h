// The library, or the program, that holds an address of code or data.
#pragma once

namespace qmio::platform {

bool is_of_this_library(const void* address);

// Keeps the library in the process to its end, whoever gives it back.
void keep_library_of(const void* address);

}  // namespace qmio::platform
