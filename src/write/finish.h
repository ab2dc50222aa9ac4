// The end of a file that is being written.
#pragma once

#include "core/handle/media_handle.h"

namespace qmio::write {

// Writes what encoders hold, the trailer and what is buffered, and closes the output: what can be done of that. Errors are
// kept with the handle and said (core/process/why.h). Does nothing where there is no container any more.
void complete(MediaHandle& handle);

// Tells the host of a memory target in its header how much was written, once.
void finish_memory_block(Writing& writing);

}  // namespace qmio::write
