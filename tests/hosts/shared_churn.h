// What processes that use and sweep shared objects tell one another.
#pragma once

#include "support/shared_counts.h"

namespace qmio::test {

inline constexpr int kChurnNames = 3;

struct SharedChurn {
    int64_t over;                      // not 0: end
    int64_t rounds;                    // of all processes
    int64_t longest_wait;              // for a mutex, in microseconds
    SharedCounts counts[kChurnNames];  // one for each mutex
};

}  // namespace qmio::test
