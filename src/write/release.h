// Taking down what writing holds beside the container.
#pragma once

#include "core/handle/writing.h"

namespace qmio::write {

inline void release(Writing& writing) {
    writing.video_frame.reset();
    writing.audio_frame.reset();
}

}  // namespace qmio::write
