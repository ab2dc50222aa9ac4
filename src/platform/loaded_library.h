// Libraries that are loaded into the process.
#pragma once

namespace qmio::platform {

// Keeps the library that holds `address`, of code or data, in the process to its end, whoever unloads it. Does nothing
// for this library itself.
void keep_loaded(const void* address);

// Keeps this library in the process to its end, for a thread that it cannot wait for.
void keep_this_library_loaded();

using Function = void (*)();

// The function `name` of the library that holds `address`, which may stay in the process longer than this library. On
// Windows a function's address taken here is that of a stub in this library: `stub`, which is the answer where the name
// is not found or the system has no stubs.
Function function_of_library(const void* address, const char* name, Function stub);

}  // namespace qmio::platform
