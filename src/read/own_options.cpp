#include "read/own_options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

#include "core/process/why.h"
#include "ffmpeg/ffmpeg.h"

namespace qmio::read {

namespace {

struct OwnOption {
    std::string_view key;
    bool (*take)(OwnOptions& own, const std::string& value);  // false: the key has no such value
};

// The whole text has to be the number: what is left over is a mistake that the host should hear of.
template <class Number>
std::optional<Number> whole_number(const std::string& text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

bool take_cancel(OwnOptions& own, const std::string& value) {
    own.cancel = whole_number<int64_t>(value).value_or(0);
    return own.cancel > 0;
}

bool take_open_timeout(OwnOptions& own, const std::string& value) {
    constexpr double kLongest = 365 * 24 * 3600.0;  // what is counted in nanoseconds has to fit
    const double seconds = whole_number<double>(value).value_or(-1);
    if (!std::isfinite(seconds) || seconds < 0)
        return false;
    // A limit that is too short to be counted is one, all the same.
    own.open_timeout = StallWatch::Limit(std::llround(std::ceil(std::min(seconds, kLongest) * 1e6)));
    return true;
}

bool take_switch(bool& target, const std::string& value) {
    const int number = whole_number<int>(value).value_or(-1);
    target = number == 1;
    return number >= 0 && number <= 1;
}

bool take_count(OwnOptions& own, const std::string& value) {
    return take_switch(own.count, value);
}

bool take_matrix(OwnOptions& own, const std::string& value) {
    own.told_colours = value == "file";
    return own.told_colours || value == "default";
}

bool take_rotate(OwnOptions& own, const std::string& value) {
    return take_switch(own.upright, value);
}

constexpr OwnOption kOwnOptions[] = {
    {"cancel", take_cancel},
    {"count", take_count},
    {"matrix", take_matrix},
    {"rotate", take_rotate},
    {"open_timeout", take_open_timeout},
};

const OwnOption* find_own(std::string_view key) {
    const auto* const found = std::find_if(std::begin(kOwnOptions), std::end(kOwnOptions),
                                           [key](const OwnOption& option) { return option.key == key; });
    return found != std::end(kOwnOptions) ? found : nullptr;
}

}  // namespace

std::optional<OwnOptions> own_options(const Options& options) {
    OwnOptions own;
    for (const Option& pair : options) {
        const OwnOption* const option = find_own(pair.key);
        if (option == nullptr || option->take(own, pair.value))
            continue;
        why::failed(AVERROR(EINVAL), "option %s cannot be \"%s\"", pair.key.c_str(), pair.value.c_str());
        return std::nullopt;
    }
    return own;
}

Options without_own(const Options& options) {
    Options others;
    for (const Option& pair : options)
        if (find_own(pair.key) == nullptr)
            others.add(pair.key, pair.value);
    return others;
}

}  // namespace qmio::read
