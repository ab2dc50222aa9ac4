// What this library is called by.
#pragma once

namespace qmio::info {

inline constexpr const char* kVersion = "3.2.2";

// When it was compiled: year, month, day, hour, minute and second in two digits each.
const char* build_stamp();

}  // namespace qmio::info
