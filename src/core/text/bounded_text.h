// Text on its way into a buffer of the host's.
#pragma once

#include <cstddef>
#include <string_view>

namespace qmio {

// Bytes of the longest beginning of a UTF-8 text that fits into `room` bytes and cuts no character in two.
std::size_t fitting_length(std::string_view text, std::size_t room);

// Copies as much of the text as fits, and a NUL. A null buffer and one without room are left alone.
void copy_text(std::string_view text, char* buffer, int size);

}  // namespace qmio
