// The trace lines that a piece of code writes, for tests of the library's insides.
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "core/process/settings.h"
#include "qmlib/sinks.h"
#include "support/temp_dir.h"

namespace qmio::test {

// While it lives, one trace switch is on and the log goes to a file of its own.
class TraceLines {
  public:
    explicit TraceLines(TraceSwitch category) : category_(static_cast<std::size_t>(category)), before_(value()) {
        value() = 1;
        qmlib::set_log_path(utf8(folder_ / "trace.log"));
    }
    TraceLines(const TraceLines&) = delete;
    TraceLines& operator=(const TraceLines&) = delete;
    ~TraceLines() {
        value() = before_;
        qmlib::close_log();
    }

    // The lines written since the log began, without their ends.
    std::vector<std::string> read() const {
        std::ifstream log(folder_ / "trace.log");
        std::vector<std::string> lines;
        for (std::string line; std::getline(log, line);)
            lines.push_back(line);
        return lines;
    }

  private:
    // The settings are read-only to the library, not to its tests.
    int32_t& value() const { return const_cast<Settings&>(settings()).trace[category_]; }

    TempDir folder_;
    std::size_t category_;
    int32_t before_;
};

}  // namespace qmio::test
