// A bar on standard error that tells how far long work has come. It stays silent where nobody watches: on a pipe or in
// a file.
#pragma once

#include <string>

namespace host {

class Progress {
  public:
    Progress(std::string work, int total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // One more of `total` is done.
    void step();

  private:
    void draw() const;

    std::string work_;
    int total_;
    int done_ = 0;
    bool visible_;
};

}  // namespace host
