// A bar on standard error that tells how far long work has come, how fast it goes and how long it will still take. It
// stays silent where nobody watches: on a pipe or in a file.
#pragma once

#include <chrono>
#include <string>

#include "progress_line.h"

namespace host {

class Progress {
  public:
    Progress(std::string work, int64_t total, Unit unit = Unit::frames);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // One more of `total` is done.
    void step() { reach(state_.done + 1); }

    // So many of `total` are done.
    void reach(int64_t done);

  private:
    void draw();

    WorkDone state_;
    bool visible_;
    std::size_t drawn_ = 0;  // characters of the line that stands there
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace host
