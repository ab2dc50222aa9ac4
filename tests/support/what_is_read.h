// All that a host gets of a source, for comparing one with another.
#pragma once

#include <cstdint>
#include <vector>

#include "support/open_media.h"

namespace qmio::test {

struct WhatIsRead {
    std::vector<int64_t> numbers;    // sizes, counts, rates
    std::vector<uint64_t> pictures;  // from the start on
    std::vector<uint64_t> sought;    // result and picture of each frame that was sought
    Bytes sound;                     // of every track, packet by packet
    std::vector<uint64_t> moved;     // sound behind seeks by time
    bool operator==(const WhatIsRead&) const = default;
};

// Empty for no handle.
WhatIsRead what_is_read(const Media& media);

// What is decoded of a source's packets, as hashes.
std::vector<uint64_t> pictures_in_order(const Media& media);

}  // namespace qmio::test
