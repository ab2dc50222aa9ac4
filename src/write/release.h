// Taking down the frames that writing works with. The rest goes with the handle.
#pragma once

#include "core/handle/writing.h"

namespace qmio::write {

inline void release(Writing& writing) {
    writing.video_frame.reset();
    writing.audio_frame.reset();
}

}  // namespace qmio::write
