#include <atomic>
#include <cerrno>
#include <cstdlib>

#include "support/memory_fill.h"

namespace {

constexpr int kNone = -1;
std::atomic<int> fresh_fill = kNone;

}  // namespace

// FFmpeg's allocator calls this one, as a program's functions come before those of its libraries.
extern "C" int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
    void* fresh = std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
    if (fresh == nullptr)
        return ENOMEM;
    if (const int fill = fresh_fill; fill != kNone)
        qmio::test::fill_memory(static_cast<uint8_t*>(fresh), size, static_cast<uint8_t>(fill));
    *block = fresh;
    return 0;
}

namespace qmio::test {

FreshMemoryFill::FreshMemoryFill(uint8_t fill) {
    fresh_fill = fill;
}

FreshMemoryFill::~FreshMemoryFill() {
    fresh_fill = kNone;
}

}  // namespace qmio::test
