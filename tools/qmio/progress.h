// A bar on standard error that tells how far long work has come, how fast it goes and how long it will still take. It
// stays silent where nobody watches: on a pipe or in a file.
#pragma once

#include <chrono>
#include <string>

namespace host {

class Progress {
  public:
    Progress(std::string work, int total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // One more of `total` is done.
    void step() { reach(done_ + 1); }

    // So many of `total` are done.
    void reach(int done);

  private:
    void draw() const;
    std::string pace() const;

    std::string work_;
    int total_;
    int done_ = 0;
    bool visible_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace host
