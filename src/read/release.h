// Taking down what reading holds beside the container.
#pragma once

#include "core/handle/reading.h"

namespace qmio::read {

inline void release(Reading& reading) {
    reading.pending.reset();
    reading.pFrame.reset();
}

}  // namespace qmio::read
