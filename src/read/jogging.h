// Reading frames that are sought one after the other, at the speed of reading in order.
#pragma once

#include "qmio.h"
#include "read/source.h"

namespace qmio::read {

// True when the seek to `frame` need not be made before another call than reading looks at container and decoder: it
// would succeed, and the picture is kept or lies a little ahead.
bool can_put_off_seek(Source& source, int32_t frame);

// Puts that seek off and does all else that it leaves behind; the frame.
int owe_seek(Source& source, int32_t frame);

// A seek was made and its target set; `left` is the picture that the handle held before, kNoFrame for none.
void note_seek(Source& source, int32_t left);

// Delivers the sought picture, or the next one: a decode result, or 0 at the end.
int read_jogging(Source& source, imio_picture& picture);

}  // namespace qmio::read
