// A library that tells where it was loaded from.
#include "platform/system.h"
#include "support/dynamic_library.h"

QMIO_TEST_EXPORT int copy_module_path(char* buffer, int size) {
    const std::string path = qmio::platform::module_path();
    return static_cast<int>(path.copy(buffer, static_cast<std::size_t>(size)));
}
