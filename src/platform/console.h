// The command line and the terminal of a program. The command-line host alone is built with it, not the library.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
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

// Number of this process.
int64_t process_number();

// While it lives, the file is removed when the program is asked to end: by Ctrl-C, by a terminal that is closed, by SIGTERM.
// The program then ends as it would have without, with another code than 0. What this process ignored from its start it goes
// on ignoring. A write beyond the size that the system allows a file is a failed write from then on, and no end.
// One at a time.
class RemovedWhenStopped {
  public:
    // `let_go` is called first where the system removes no file that is open, on a thread of its own: it has to close it.
    RemovedWhenStopped(const std::filesystem::path& file, const std::function<void()>& let_go);
    RemovedWhenStopped(const RemovedWhenStopped&) = delete;
    RemovedWhenStopped& operator=(const RemovedWhenStopped&) = delete;
    ~RemovedWhenStopped();  // `let_go` is not running, and will not be called any more
};

}  // namespace qmio::platform
