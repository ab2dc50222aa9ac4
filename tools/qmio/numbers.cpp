#include "numbers.h"

#include <charconv>
#include <cstdio>
#include <numeric>
#include <sstream>

namespace host {

namespace {

constexpr const char* kNotTold = "not told";

// At most three digits behind the point, without noughts at the end.
std::string short_decimal(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.3f", value);
    std::string result = text;
    result.erase(result.find_last_not_of('0') + 1);
    if (result.back() == '.')
        result.pop_back();
    return result;
}

}  // namespace

std::string time_text(int64_t microseconds) {
    const int64_t thousandths = ((microseconds < 0 ? -microseconds : microseconds) + 500) / 1000;
    const int64_t seconds = thousandths / 1000;
    char text[64];
    std::snprintf(text, sizeof text, "%s%d:%02d:%02d.%03d", microseconds < 0 ? "-" : "",
                  static_cast<int>(seconds / 3600), static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60),
                  static_cast<int>(thousandths % 1000));
    return text;
}

std::optional<double> parse_time(const std::string& text) {
    constexpr double longest = 1e7;
    double seconds = 0.0;
    std::istringstream parts(text);
    int count = 0;
    for (std::string part; std::getline(parts, part, ':'); ++count) {
        if (part.empty() || part.find_first_not_of("0123456789.") != std::string::npos || part.size() > 12)
            return {};
        double value = 0.0;
        const auto [stopped, error] = std::from_chars(part.data(), part.data() + part.size(), value);
        if (error != std::errc() || stopped != part.data() + part.size() || (count > 0 && value >= 60))
            return {};
        seconds = seconds * 60 + value;
    }
    const bool whole = count >= 1 && count <= 3 && text.back() != ':' && text.find('.') >= text.rfind(':') + 1;
    return whole && seconds < longest ? std::optional(seconds) : std::nullopt;
}

std::string bit_rate_text(int64_t bits_per_second) {
    if (bits_per_second <= 0)
        return kNotTold;
    if (bits_per_second < 1000)
        return std::to_string(bits_per_second) + " bit/s";
    return std::to_string((bits_per_second + 500) / 1000) + " kbit/s";
}

std::string rate_text(int64_t num, int64_t den) {
    if (num <= 0 || den <= 0)
        return kNotTold;
    if (num % den == 0)
        return std::to_string(num / den);
    return short_decimal(static_cast<double>(num) / static_cast<double>(den)) + " (" + std::to_string(num) + "/" +
           std::to_string(den) + ")";
}

std::string ratio_text(int64_t num, int64_t den) {
    const int64_t divisor = std::gcd(num, den);
    if (num <= 0 || den <= 0)
        return kNotTold;
    return std::to_string(num / divisor) + ":" + std::to_string(den / divisor);
}

}  // namespace host
