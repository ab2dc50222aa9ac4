// What the library keeps for every thread. All zeros at first, without constructors and destructors.
#pragma once

#include <cstdint>

#include "core/process/fixed_text.h"
#include "platform/thread_block.h"

namespace qmio {

struct ThreadRecord {
    // Why calls fail (core/process/why.h): the one in progress, and the one that the host can ask about.
    int32_t calls = 0;  // in progress, one inside the other
    int32_t code = 0;
    FixedText<1536> text;
    FixedText<512> heard;    // FFmpeg's last error message during the call
    FixedText<512> remarks;  // what is no failure
    int32_t told_code = 0;
    FixedText<2048> told;

    int32_t log_callbacks = 0;  // of the host's that this thread is inside of
};

// Null when memory is short.
inline ThreadRecord* thread_record() {
    return static_cast<ThreadRecord*>(platform::thread_block(sizeof(ThreadRecord)));
}

// The same, and null for a thread that has none yet.
inline ThreadRecord* existing_thread_record() {
    return static_cast<ThreadRecord*>(platform::existing_thread_block());
}

}  // namespace qmio
