// What a verb throws when it cannot do its work: the text names the file and says why.
#pragma once

#include <qmio.h>

#include <stdexcept>
#include <string>

namespace host {

class Failure : public std::runtime_error {
  public:
    Failure(const std::string& file, const std::string& reason) : std::runtime_error(file + ": " + reason) {}
    explicit Failure(const std::string& text) : std::runtime_error(text) {}
};

// The library's last failed call, in its own words; `otherwise` about the file where it has none.
inline Failure failure_of_library(const std::string& file, const std::string& otherwise) {
    char text[2048];
    return qmio_why(text, sizeof text) != 0 ? Failure(text) : Failure(file, otherwise);
}

}  // namespace host
