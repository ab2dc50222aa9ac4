// The loader's notice that this library, or a program it is linked into, begins and ends.
#include "core/process/settings.h"

namespace {

__attribute__((constructor)) void loaded() {
    qmio::attach_library();
}

__attribute__((destructor)) void unloading() {
    qmio::detach_library();
}

}  // namespace
