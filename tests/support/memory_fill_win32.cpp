#include "support/memory_fill.h"

namespace qmio::test {

FreshMemoryFill::FreshMemoryFill(uint8_t) {}
FreshMemoryFill::~FreshMemoryFill() = default;

}  // namespace qmio::test
