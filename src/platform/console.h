// The command line and the terminal of a program. The command-line host alone is built with it, not the library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qmio::platform {

// The command line without the program's own name, as UTF-8. It also makes the console show UTF-8.
std::vector<std::string> utf8_arguments(int argc, char** argv);

// True when standard error is a terminal that somebody may be looking at.
bool error_output_is_terminal();

// Columns of that terminal; 0 where it does not tell.
int error_output_width();

// While it lives, what this process writes to standard error goes nowhere.
class QuietErrors {
  public:
    QuietErrors();
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;
    ~QuietErrors();

  private:
    std::intptr_t before_;
};

}  // namespace qmio::platform
