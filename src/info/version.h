// What this library is called by.
#pragma once

#include "qmio.h"

namespace qmio::info {

inline constexpr const char* kVersion = QMIO_VERSION_STRING;

// When it was compiled: year, month, day, hour, minute and second in two digits each.
const char* build_stamp();

}  // namespace qmio::info
