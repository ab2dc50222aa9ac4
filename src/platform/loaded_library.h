// Libraries that are loaded into the process.
#pragma once

namespace qmio::platform {

// Keeps the library that holds `address`, of code or data, in the process to its end, whoever unloads it. Does nothing
// for this library itself.
void keep_loaded(const void* address);

}  // namespace qmio::platform
