// What a verb throws when it cannot do its work: the text names the file and says why.
#pragma once

#include <stdexcept>
#include <string>

namespace host {

class Failure : public std::runtime_error {
  public:
    Failure(const std::string& file, const std::string& reason) : std::runtime_error(file + ": " + reason) {}
};

}  // namespace host
