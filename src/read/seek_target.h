// From where a seek landed to the picture that was asked for.
//
// A container lands where its index lets it: at a key frame before the target, between key frames, or behind the
// target. Reading decodes forward without converting until the picture's number reaches the target. Where the landing
// turns out to be too late, it steps further back and tries again, to the start of the source if need be.
#pragma once

#include "core/media_handle.h"
#include "qmio.h"

namespace qmio::read {

// Remembers the picture to reach from the current landing. `exact_landing`: the container may have landed on any
// packet, not on a key packet.
void set_target(MediaHandle& handle, int target, bool exact_landing);

void forget_target(MediaHandle& handle);

// Delivers the wanted picture: a decode result, or 0 when the source ends before it.
int read_target(MediaHandle& handle, imio_picture& picture);

}  // namespace qmio::read
