// Seeking as hosts ask for it: where the container is put is told in position.h, how far it steps back when a landing
// was too late in pending_seek.h, which picture comes out in choose.h.
#pragma once

#include "read/source.h"

namespace qmio::read {

// Positions for frame `frame`; the frame that the handle stands on, 0 when nothing was done, -1 when seeking failed.
int seek_frame(Source& source, int32_t frame);

// Makes a seek that qmio_seek_frame said was made. False when it fails: the handle refuses to be sought from then on.
bool make_seek(Source& source, int32_t frame);

}  // namespace qmio::read
