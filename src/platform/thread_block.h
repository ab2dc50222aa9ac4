// A block of memory for every thread. The language's own variables of that kind will not do: where there is no memory for
// them the program ends, and the library stays loaded for as long as a thread has one with a destructor.
#pragma once

#include <cstddef>

namespace qmio::platform {

// While the library loads, and before its code leaves a process that goes on.
void reserve_thread_blocks();
void give_up_thread_blocks();

// The calling thread's block of `size` bytes, always the same size, which the system frees when the thread ends: zeros at
// first. Null when memory is short.
void* thread_block(std::size_t size);

// The same where the thread has one already, else null.
void* existing_thread_block();

}  // namespace qmio::platform
