// Option texts: one text of key=value pairs, read by open, create and remux.
//
// Pairs stand behind one another, separated by ',', a line feed or blanks. A value in double quotes keeps its commas
// and blanks. A line that begins with '#', '/' or ';' is a comment. Keys are case-sensitive. A carriage return belongs
// to the key or value that it follows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qmio {

// A key or value beyond this many characters is cut, the rest of it skipped.
inline constexpr std::size_t kMaxOptionText = 511;

struct Option {
    std::string key;
    std::string value;
    bool operator==(const Option&) const = default;
};

// An option text, read once: its pairs in their order. A pair without a key, which comes out of blanks, comments and
// doubled commas, is none.
class Options {
  public:
    Options() = default;  // nothing was given

    // Null: nothing was given.
    explicit Options(const char* text);

    // The text itself; null when nothing was given.
    const char* text() const { return text_ ? text_->c_str() : nullptr; }

    auto begin() const { return pairs_.begin(); }
    auto end() const { return pairs_.end(); }

    void add(std::string key, std::string value) { pairs_.push_back({std::move(key), std::move(value)}); }

    // The value of the first pair with exactly this key; null when there is none.
    const std::string* find(std::string_view key) const;

    // The same value by the number syntax; 0 when there is none.
    int32_t number(std::string_view key) const;

  private:
    std::optional<std::string> text_;
    std::vector<Option> pairs_;
};

// Number syntax: a decimal floating-point number, times 1000 for a 'k' anywhere in the text, times 1000^2 for an 'M',
// 1000^3 for a 'G' (1024 instead of 1000 when there is an 'i'), cut to a whole number, then times 8 for a 'B'.
// Independent of the host's locale. What leaves the 32 bits ends at their limits; what is no number is 0.
int32_t read_number(const std::string& text);

// The whole number at the start of the text: blanks, a sign, digits. Saturating like the one above; 0 when there is
// none.
int32_t read_integer(const std::string& text);

}  // namespace qmio
