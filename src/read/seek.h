// Positioning the container.
#pragma once

#include "core/media_handle.h"

namespace qmio::read {

// Positions for frame `frame`; the frame that the handle stands on, 0 when nothing was done, -1 when seeking failed.
int seek_frame(MediaHandle& handle, int32_t frame);

// Positions at or before `frame`, without touching the wanted frame: by the frame-position index where there is one
// and not `by_time`, else at a key packet. False when the container cannot.
bool seek_before(MediaHandle& handle, int32_t frame, bool by_time);

// Positions where reading began when the source was opened; false when the container cannot.
bool seek_to_start(MediaHandle& handle);

}  // namespace qmio::read
