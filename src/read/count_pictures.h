// Counting the pictures of a source by reading its packets once.
#pragma once

#include "core/handle/media_handle.h"

namespace qmio::read {

// From now on the handle's pictures are numbered in the order in which they are shown, and it knows how many there are.
// Nothing changes where the source has no video, cannot be read twice or is being written by somebody who publishes its
// frame positions. False when the source was read and did not go back to its start: it cannot be used any more.
bool count_pictures(MediaHandle& handle);

}  // namespace qmio::read
