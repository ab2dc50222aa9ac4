// A handle on its way to becoming whole. However that ends, it is closed like any other, unless it is released.
#pragma once

#include <memory>

#include "qmio.h"

namespace qmio {

struct CloseHandle {
    void operator()(MediaHandle* handle) const { qmio_close(handle); }
};
using HalfBuiltHandle = std::unique_ptr<MediaHandle, CloseHandle>;

}  // namespace qmio
