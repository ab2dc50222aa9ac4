#include "core/text/bounded_text.h"

#include <cstring>

namespace qmio {

namespace {

bool continues_a_character(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

}  // namespace

std::size_t fitting_length(std::string_view text, std::size_t room) {
    if (text.size() <= room)
        return text.size();
    std::size_t length = room;
    while (length > 0 && continues_a_character(text[length]))
        --length;
    return length;
}

void copy_text(std::string_view text, char* buffer, int size) {
    if (buffer == nullptr || size < 1)
        return;
    const std::size_t length = fitting_length(text, static_cast<std::size_t>(size) - 1);
    if (length > 0)
        std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}

}  // namespace qmio
