// Where UTF-8 text may be cut.
#pragma once

#include <cstddef>
#include <string_view>

namespace qmio {

// Length of the longest prefix that fits into `room` bytes and cuts no character in two.
inline std::size_t fitting_length(std::string_view text, std::size_t room) {
    if (text.size() <= room)
        return text.size();
    std::size_t length = room;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
        --length;
    return length;
}

}  // namespace qmio
