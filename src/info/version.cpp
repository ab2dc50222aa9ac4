#include "info/version.h"

#include <array>
#include <string_view>

namespace qmio::info {

namespace {

constexpr std::string_view kDate = __DATE__;  // "Nov 21 2026", the day with a blank for its first digit
constexpr std::string_view kTime = __TIME__;  // "12:34:56"

constexpr int month_number(std::string_view name) {
    constexpr std::string_view months = "JanFebMarAprMayJunJulAugSepOctNovDec";
    const std::size_t place = months.find(name);
    return place != std::string_view::npos ? static_cast<int>(place / 3) + 1 : 1;
}

constexpr int digit(char letter) {
    return letter >= '0' && letter <= '9' ? letter - '0' : 0;
}

constexpr int two_digits(std::string_view text, std::size_t place) {
    return 10 * digit(text[place]) + digit(text[place + 1]);
}

constexpr std::array<char, 13> make_stamp() {
    const int parts[] = {two_digits(kDate, 9), month_number(kDate.substr(0, 3)),
                         two_digits(kDate, 4), two_digits(kTime, 0),
                         two_digits(kTime, 3), two_digits(kTime, 6)};
    std::array<char, 13> stamp{};
    std::size_t place = 0;
    for (const int part : parts) {
        stamp[place++] = static_cast<char>('0' + part / 10);
        stamp[place++] = static_cast<char>('0' + part % 10);
    }
    return stamp;
}

constexpr std::array<char, 13> kStamp = make_stamp();

}  // namespace

const char* build_stamp() {
    return kStamp.data();
}

}  // namespace qmio::info
