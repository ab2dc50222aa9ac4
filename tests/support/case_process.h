// Cases that may end or stop the process they run in: a host answers one line with another, and is started anew where
// a case was its last.
#pragma once

#include <optional>
#include <string>

#include "support/process.h"

namespace qmio::test {

class CaseProcess {
  public:
    explicit CaseProcess(const std::string& host) : host_(host) {}

    // What the host answered; what became of it, in brackets, where it did not.
    std::string answer(const std::string& line);

  private:
    std::string host_;
    std::optional<Process> process_;
};

inline bool has_answered(const std::string& answer) {
    return !answer.starts_with("[");
}

// For the host: ends its process where no case has begun for so long that this one never ends.
class Watchdog {
  public:
    static constexpr int kHung = 86;

    Watchdog();
    static void begin_case();
};

}  // namespace qmio::test
