// The options of an open that are the library's own. FFmpeg never sees them, whatever it may call by the same names.
#pragma once

#include <cstdint>
#include <optional>

#include "core/handle/stall_watch.h"
#include "core/text/options.h"

namespace qmio::read {

// What an open does that says nothing of them.
struct OwnOptions {
    int64_t cancel = 0;                 // what the host calls this open by; 0: it has no name
    StallWatch::Limit open_timeout{0};  // how long the whole open may last; 0: as long as it takes
    bool count = false;                 // the pictures are counted
    bool told_colours = false;          // colours by the matrix and range that the file tells
    bool upright = false;               // pictures turned as the file tells
};

// What the options say of them; of a key that stands there twice the last one counts. Nothing where a value is none that
// the key can have; what that is has been said then (core/process/why.h).
std::optional<OwnOptions> own_options(const Options& options);

// The other options, which are FFmpeg's.
Options without_own(const Options& options);

}  // namespace qmio::read
