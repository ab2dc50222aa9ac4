// Text in a place of its own, which needs no memory to be written and is empty where it is all zeros.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "core/text/bounded_text.h"

namespace qmio {

// What does not fit is cut off behind the last whole character.
template <std::size_t size>
class FixedText {
  public:
    bool empty() const { return text_[0] == '\0'; }
    const char* c_str() const { return text_; }
    std::string_view view() const { return text_; }
    void clear() { text_[0] = '\0'; }

    void append(std::string_view more) {
        const std::size_t length = view().size();
        const std::size_t added = fitting_length(more, size - 1 - length);
        std::memcpy(text_ + length, more.data(), added);
        text_[length + added] = '\0';
    }

    void prepend(std::string_view more) {
        const std::size_t added = fitting_length(more, size - 1);
        const std::size_t kept = fitting_length(view(), size - 1 - added);
        std::memmove(text_ + added, text_, kept);
        std::memcpy(text_, more.data(), added);
        text_[added + kept] = '\0';
    }

    // Lets `shorten` work on the characters; it returns how many are left.
    template <class Shorten>
    void shorten(Shorten&& shorten) {
        text_[shorten(text_, view().size())] = '\0';
    }

  private:
    char text_[size];
};

}  // namespace qmio
