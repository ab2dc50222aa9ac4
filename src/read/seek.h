// Positioning the container.
#pragma once

#include "core/media_handle.h"

namespace qmio::read {

// Positions for frame `frame`; the frame that the handle stands on, 0 when nothing was done, -1 when seeking failed.
int seek_frame(MediaHandle& handle, int32_t frame);

// Positions at a key packet at or before `frame`, without touching the wanted frame; false when the container cannot.
bool seek_before(MediaHandle& handle, int32_t frame);

// Positions where reading began when the source was opened; false when the container cannot.
bool seek_to_start(MediaHandle& handle);

}  // namespace qmio::read
