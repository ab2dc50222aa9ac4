// How much memory a work comes to.
#pragma once

#include <functional>

namespace bench {

// KiB of resident memory at the highest, in a process of its own. Throws std::runtime_error when the work fails.
long peak_memory(const std::function<void()>& work);

// KiB of resident memory of this process now.
long resident_memory();

}  // namespace bench
