#include "core/text/options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace qmio {
namespace {

bool is_one_of(char character, const char* characters) {
    return character != '\0' && std::strchr(characters, character) != nullptr;
}

const char* skip(const char* position, const char* characters) {
    while (is_one_of(*position, characters))
        ++position;
    return position;
}

const char* skip_to(const char* position, const char* ends) {
    while (*position != '\0' && !is_one_of(*position, ends))
        ++position;
    return position;
}

const char* skip_comments(const char* position) {
    while (is_one_of(*position, "#/;"))
        position = skip(skip_to(position, "\r\n"), "\r\n");
    return position;
}

std::string cut_text(const char* begin, const char* end) {
    return std::string(begin, std::min(static_cast<std::size_t>(end - begin), kMaxOptionText));
}

const char* read_quoted(const char* position, std::string& value) {
    const char* end = skip_to(position, "\"");
    value = cut_text(position, end);
    return *end == '"' ? end + 1 : end;
}

const char* read_value(const char* position, std::string& value) {
    if (*position == '"')
        return read_quoted(position + 1, value);
    const char* end = skip_to(position, "\t\n ,");
    value = cut_text(position, end);
    return end;
}

// Reads one pair from `position` and returns where the next one begins; the text is used up at its NUL.
const char* read_pair(const char* position, Option& pair) {
    position = skip(position, " \t\r\n");
    position = skip_comments(position);
    position = skip(position, " \t");
    const char* key_end = skip_to(position, "=\t\n ,");
    pair.key = cut_text(position, key_end);
    position = read_value(skip(key_end, " \t="), pair.value);
    position = skip(position, " \t");
    return is_one_of(*position, ",\n") ? position + 1 : position;
}

bool holds(const char* text, char letter) {
    return std::strchr(text, letter) != nullptr;
}

// What the letters of the number syntax multiply by.
double multiplier(const char* text) {
    const double base = holds(text, 'i') ? 1024 : 1000;
    double product = 1;
    if (holds(text, 'k'))
        product *= base;
    if (holds(text, 'M'))
        product *= base * base;
    if (holds(text, 'G'))
        product *= base * base * base;
    return product;
}

// from_chars is the one reader of numbers that knows no locale; it takes neither leading blanks nor a plus sign.
const char* skip_to_number(const char* text) {
    text = skip(text, " \t\r\n\v\f");
    return text[0] == '+' && text[1] != '-' ? text + 1 : text;
}

// Of a number that fits no double: true when it is too small, not too large.
bool is_tiny(std::string_view number) {
    const size_t mark = std::min(number.find_first_of("eE"), number.size());
    const size_t point = std::min(number.find('.'), mark);
    const size_t digit = number.find_first_of("123456789");
    // How many digits the value has before its point, below 0 for zeros behind it; the notation's exponent moves that.
    const auto places = static_cast<ptrdiff_t>(point) - static_cast<ptrdiff_t>(digit);
    return places + read_integer(std::string(number.substr(std::min(mark + 1, number.size())))) < 0;
}

double read_decimal(const char* text) {
    text = skip_to_number(text);
    double number = 0;
    const auto [stop, error] = std::from_chars(text, text + std::strlen(text), number);
    if (error != std::errc::result_out_of_range)
        return std::isfinite(number) ? number : 0;
    if (is_tiny(std::string_view(text, static_cast<size_t>(stop - text))))
        return 0;
    return *text == '-' ? -std::numeric_limits<double>::max() : std::numeric_limits<double>::max();
}

int32_t saturate(double number) {
    using Limits = std::numeric_limits<int32_t>;
    return static_cast<int32_t>(std::clamp<double>(number, Limits::min(), Limits::max()));
}

}  // namespace

Options::Options(const char* text) {
    if (text == nullptr)
        return;
    text_ = text;
    for (const char* position = text; *position != '\0';) {
        Option pair;
        position = read_pair(position, pair);
        if (!pair.key.empty())
            pairs_.push_back(std::move(pair));
    }
}

const std::string* Options::find(std::string_view key) const {
    const auto found = std::find_if(begin(), end(), [key](const Option& option) { return option.key == key; });
    return found != end() ? &found->value : nullptr;
}

int32_t Options::number(std::string_view key) const {
    const std::string* const value = find(key);
    return value != nullptr ? read_number(*value) : 0;
}

int32_t read_number(const std::string& text) {
    const int32_t number = saturate(read_decimal(text.c_str()) * multiplier(text.c_str()));
    return holds(text.c_str(), 'B') ? saturate(number * 8.0) : number;
}

int32_t read_integer(const std::string& text) {
    const char* const digits = skip_to_number(text.c_str());
    int32_t number = 0;
    const auto result = std::from_chars(digits, digits + std::strlen(digits), number);
    if (result.ec != std::errc::result_out_of_range)
        return number;
    return *digits == '-' ? std::numeric_limits<int32_t>::min() : std::numeric_limits<int32_t>::max();
}

}  // namespace qmio
