// Runs the command-line host.
#pragma once

#include "support/media.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace qmio::test {

inline Outcome run_qmio(const Arguments& arguments) {
    Outcome outcome = run(host_program("qmio"), arguments);
    // Lines end as the system has it; the tests read them without its carriage returns.
    std::erase(outcome.output, '\r');
    std::erase(outcome.error_text, '\r');
    return outcome;
}

inline std::string made(const std::string& name) {
    return utf8(media_path(name));
}

}  // namespace qmio::test
