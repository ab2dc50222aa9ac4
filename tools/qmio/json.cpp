#include "json.h"

#include <cstdio>
#include <ostream>

namespace host {

namespace {

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        char escape[8] = {letter, '\0'};
        if (letter == '"' || letter == '\\')
            std::snprintf(escape, sizeof escape, "\\%c", letter);
        else if (code < 0x20 || code == 0x7F)
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(code));
        result += escape;
    }
    return result + '"';
}

}  // namespace

void JsonWriter::begin_object(const std::string& key) {
    begin_value(key);
    begin('{', '}');
}

void JsonWriter::begin_list(const std::string& key) {
    begin_value(key);
    begin('[', ']');
}

void JsonWriter::end() {
    const Level level = levels_.back();
    levels_.pop_back();
    if (!level.empty)
        out_ << '\n' << std::string(2 * levels_.size(), ' ');
    out_ << level.last;
    if (levels_.empty())
        out_ << '\n';
}

void JsonWriter::add(const std::string& key, const std::optional<std::string>& text) {
    begin_value(key);
    out_ << (text ? quoted(*text) : "null");
    after_key_ = false;
}

void JsonWriter::add(const std::string& key, std::optional<int64_t> number) {
    begin_value(key);
    out_ << (number ? std::to_string(*number) : "null");
    after_key_ = false;
}

void JsonWriter::add(const std::string& key, const std::vector<int64_t>& numbers) {
    begin_value(key);
    out_ << '[';
    for (std::size_t place = 0; place < numbers.size(); ++place)
        out_ << (place > 0 ? ", " : "") << numbers[place];
    out_ << ']';
    after_key_ = false;
}

void JsonWriter::begin(char first, char last) {
    if (!after_key_ && !levels_.empty())
        begin_value();
    after_key_ = false;
    out_ << first;
    levels_.push_back({last});
}

void JsonWriter::begin_value() {
    out_ << (levels_.back().empty ? "\n" : ",\n") << std::string(2 * levels_.size(), ' ');
    levels_.back().empty = false;
}

void JsonWriter::begin_value(const std::string& key) {
    begin_value();
    out_ << quoted(key) << ": ";
    after_key_ = true;
}

}  // namespace host
