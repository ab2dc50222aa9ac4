// A small read-only XML database, addressed by paths and walked by entry names.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qmio::qmlib {

class XmlDatabase {
  public:
    struct Option {
        std::string name;  // the attribute "option"
        std::string value;
    };

    // Null when the text is not one well-formed element.
    static std::unique_ptr<XmlDatabase> parse(std::string_view text);

    // Null when the file cannot be read or is malformed. `path` is UTF-8.
    static std::unique_ptr<XmlDatabase> read(const std::string& path);

    ~XmlDatabase();

    // The text of the first element at `path`, without the white space around it; empty when there is none.
    // "//a/b" finds, in document order, a `b` that is a child of an `a`, the `a` at any depth below the root element.
    std::string value(const char* path) const;

    // The values of the root's children of this name, in order, without the empty ones.
    std::vector<std::string> values(std::string_view name) const;

    // The (option, value) pairs of the root's children of this name that have an attribute "option", in order, without
    // those whose value or option name is empty.
    std::vector<Option> options(std::string_view name) const;

  private:
    struct Document;
    explicit XmlDatabase(std::unique_ptr<Document> document);

    std::unique_ptr<Document> document_;
};

}  // namespace qmio::qmlib
