// Seeking as hosts ask for it.
#pragma once

#include "read/source.h"

namespace qmio::read {

// Positions for frame `frame`; the frame that the handle stands on, 0 when nothing was done, -1 when seeking failed.
int seek_frame(Source& source, int32_t frame);

}  // namespace qmio::read
