// While it lives, files of this process grow no further than it says.
#pragma once

#include <sys/resource.h>

#include <csignal>

namespace qmio::test {

class FileSizeLimit {
  public:
    // `on_signal` is what becomes of a write beyond it: SIG_IGN fails it, SIG_DFL ends the process.
    FileSizeLimit(rlim_t bytes, void (*on_signal)(int)) : signal_(std::signal(SIGXFSZ, on_signal)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, signal_);
    }

  private:
    rlimit before_{};
    void (*signal_)(int);
};

}  // namespace qmio::test
