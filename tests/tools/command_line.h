// Runs the command-line host.
#pragma once

#include "support/media.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace qmio::test {

inline Outcome run_qmio(const Arguments& arguments) {
    return run(host_program("qmio"), arguments);
}

inline std::string made(const std::string& name) {
    return utf8(media_path(name));
}

}  // namespace qmio::test
