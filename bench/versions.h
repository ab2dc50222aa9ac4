// What was measured.
#pragma once

#include <string>

namespace bench {

// The library's version, FFmpeg's, and those of the peers.
std::string versions();

}  // namespace bench
