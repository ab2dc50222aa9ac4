// Reading on, picture by picture.
#pragma once

#include "qmio.h"
#include "read/source.h"
#include "read/walk.h"

namespace qmio::read {

// Goes on to the next picture in order.
Step step_straight_on(Source& source, imio_picture& picture);

// The next picture from where container and decoder stand, which is the sought one behind a seek: a decode result, or 0
// at the end.
int read_from_here(Source& source, imio_picture& picture);

}  // namespace qmio::read
