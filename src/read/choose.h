// Which picture comes out after a seek.
#pragma once

#include <optional>

#include "qmio.h"
#include "read/pending_seek.h"
#include "read/source.h"

namespace qmio::read {

// Remembers the picture to reach from where the container landed.
void set_target(Source& source, int32_t target, Landing landing);

void forget_target(Source& source);

// A host that decodes packet by packet takes the way to a sought picture into its own hands once it has passed it.
void forget_passed_target(Source& source);

// Puts the container where the way begins, if it is not there yet. False when it cannot: the target is given up, and
// reading goes on where it stands.
bool land(Source& source);

// Delivers the wanted picture: a decode result, or 0 when the source ends before it.
int read_target(Source& source, imio_picture& picture);

// The same from where container and decoder stand, which is before the target. Nothing where the picture does not come
// out so: the way to it then has to begin with a landing.
std::optional<int> go_on_to_target(Source& source, imio_picture& picture);

}  // namespace qmio::read
