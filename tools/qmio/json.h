// JSON, written value by value: members of objects a line each, lists of numbers on one.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace host {

class JsonWriter {
  public:
    explicit JsonWriter(std::ostream& out) : out_(out) {}

    // What follows until end() are the members of an object, or the elements of a list.
    void begin_object() { begin('{', '}'); }
    void begin_object(const std::string& key);
    void begin_list(const std::string& key);
    void end();

    void add(const std::string& key, const std::optional<std::string>& text);
    void add(const std::string& key, std::optional<int64_t> number);
    void add(const std::string& key, const std::vector<int64_t>& numbers);
    void add_null(const std::string& key) { add(key, std::optional<int64_t>()); }

  private:
    void begin(char first, char last);
    void begin_value();
    void begin_value(const std::string& key);

    struct Level {
        char last;
        bool empty = true;
    };
    std::ostream& out_;
    std::vector<Level> levels_;
    bool after_key_ = false;
};

}  // namespace host
