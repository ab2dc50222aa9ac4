// Taking down what reading holds beside the container: sound by position, the pending seek and the picture. The rest goes with the handle.
#pragma once

#include "core/handle/reading.h"

namespace qmio::read {

inline void release(Reading& reading) {
    reading.positioned.reset();
    reading.pending.reset();
    reading.pFrame.reset();
}

}  // namespace qmio::read
