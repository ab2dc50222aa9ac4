// Taking down what reading holds beside the container: sound by position, the pending seek and the pictures. The rest goes with the handle.
#pragma once

#include "core/handle/reading.h"

namespace qmio::read {

// The pictures that are kept for stepping back, wherever container and decoder stand.
inline void release_kept(Reading& reading) {
    reading.jog.reset();
    reading.catch_up = nullptr;
}

inline void release(Reading& reading) {
    release_kept(reading);
    reading.positioned.reset();
    reading.pending.reset();
    reading.pFrame.reset();
}

}  // namespace qmio::read
