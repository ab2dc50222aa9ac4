#include "support/json.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace qmio::test {

namespace {

class Reader {
  public:
    explicit Reader(const std::string& text) : text_(text) {}

    JsonLeaves read() {
        value("");
        skip();
        require(at_ == text_.size(), "the end");
        return leaves_;
    }

  private:
    void require(bool right, const std::string& what) const {
        if (!right)
            throw std::runtime_error("not JSON: " + what + " wanted at " + text_.substr(at_, 40));
    }
    void skip() {
        while (at_ < text_.size() && std::string(" \n\t\r").find(text_[at_]) != std::string::npos)
            ++at_;
    }
    bool take(char letter) {
        skip();
        const bool found = at_ < text_.size() && text_[at_] == letter;
        at_ += found;
        return found;
    }

    void value(const std::string& path) {
        skip();
        require(at_ < text_.size(), "a value");
        if (text_[at_] == '{')
            members(path);
        else if (text_[at_] == '[')
            elements(path);
        else if (text_[at_] == '"')
            leaf(path, string());
        else
            word(path);
    }

    void members(const std::string& path) {
        take('{');
        if (take('}'))
            return leaf(path, "{}");
        do {
            skip();
            const std::string key = string();
            require(take(':'), "a colon");
            value(path.empty() ? key : path + "." + key);
        } while (take(','));
        require(take('}'), "a brace");
    }

    void elements(const std::string& path) {
        take('[');
        if (take(']'))
            return leaf(path, "[]");
        int index = 0;
        do
            value(path + "." + std::to_string(index++));
        while (take(','));
        require(take(']'), "a bracket");
    }

    std::string string() {
        require(take('"'), "a quote");
        std::string result;
        while (at_ < text_.size() && text_[at_] != '"') {
            require(static_cast<unsigned char>(text_[at_]) >= 0x20, "an escape");
            result += text_[at_] == '\\' ? escape() : text_[at_++];
        }
        require(take('"'), "a quote");
        return result;
    }

    // Those of characters below 0x80 alone; our own writer makes no other.
    char escape() {
        const char kind = text_[++at_];
        ++at_;
        if (kind != 'u')
            return kind;
        const int code = std::stoi(text_.substr(at_, 4), nullptr, 16);
        require(code < 0x80, "a small character");
        at_ += 4;
        return static_cast<char>(code);
    }

    void word(const std::string& path) {
        const std::size_t begin = at_;
        while (at_ < text_.size() && (std::isalnum(static_cast<unsigned char>(text_[at_])) != 0 ||
                                      std::string("+-.").find(text_[at_]) != std::string::npos))
            ++at_;
        const std::string found = text_.substr(begin, at_ - begin);
        const bool is_number = !found.empty() && found.find_first_not_of("0123456789+-.eE") == std::string::npos;
        require(is_number || found == "null" || found == "true" || found == "false", "a value");
        leaf(path, found == "null" ? std::nullopt : std::optional(found));
    }

    void leaf(const std::string& path, const std::optional<std::string>& text) {
        require(leaves_.emplace(path, text).second, "another name than " + path);
    }

    const std::string& text_;
    std::size_t at_ = 0;
    JsonLeaves leaves_;
};

}  // namespace

JsonLeaves read_json(const std::string& text) {
    return Reader(text).read();
}

}  // namespace qmio::test
