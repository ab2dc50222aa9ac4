// What a consumer of a source that is read in the background has to see, computed without threads over FFmpeg's plain calls.
#pragma once

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <vector>

#include "packet/range.h"

namespace qmio::test {

struct Seen {
    int32_t type = 0;  // 1 video, 2 sound, 0 sync point, -1 end
    int32_t stream = -1;
    int64_t time = 0;
    bool operator==(const Seen&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Seen& seen);

// How many entries stay behind what a consumer takes: one that always waits for more leaves half of the queue, one that is
// slower than the reader all of it.
inline constexpr std::size_t kWaiting = 250, kSlow = 499;

// At most about `bound` entries.
std::vector<Seen> modelled(const std::filesystem::path& path, const packet::Range& range, std::size_t held_back,
                           std::size_t bound);

}  // namespace qmio::test
