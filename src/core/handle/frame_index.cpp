#include "core/handle/frame_index.h"

#include <algorithm>
#include <atomic>

namespace qmio::frame_index {

namespace {

std::atomic_ref<int64_t> entry(const platform::SharedMapping& index, int64_t number) {
    return std::atomic_ref<int64_t>(static_cast<int64_t*>(index.data())[number]);
}

// The writer's view may be of any size, and its contents are another process's word.
int64_t entry_capacity(const platform::SharedMapping& index) {
    return static_cast<int64_t>(std::min(index.size(), kBytes) / sizeof(int64_t));
}

}  // namespace

std::string mapping_name(const std::string& file_name) {
    std::string name = file_name;
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

std::unique_ptr<platform::SharedMapping> attach(const std::string& file_name) {
    return platform::SharedMapping::open(mapping_name(file_name));
}

std::unique_ptr<platform::SharedMapping> publish(const std::string& file_name) {
    std::unique_ptr<platform::SharedMapping> index = platform::SharedMapping::create(mapping_name(file_name), kBytes);
    if (index == nullptr)
        return nullptr;
    // The mapping may be an older one that a reader still holds: first it counts nothing, then its entries go.
    for (int64_t number = 0; number < entry_capacity(*index); ++number)
        entry(*index, number).store(0, std::memory_order_release);
    return index;
}

void enter(const platform::SharedMapping& index, int64_t frame, int64_t position) {
    // A decoding time may lie before the first frame: entry 0 is the count, not a place for frame -1.
    if (frame < 0 || frame >= entry_capacity(index) - 1)
        return;
    entry(index, frame + 1).store(position, std::memory_order_relaxed);
    if (entry(index, 0).load(std::memory_order_relaxed) < frame + 1)
        entry(index, 0).store(frame + 1, std::memory_order_release);
}

int64_t frame_total(const platform::SharedMapping* index) {
    if (index == nullptr || entry_capacity(*index) < 1)
        return 0;
    // Paired with the writer's release: every entry up to this one is complete.
    const int64_t highest = entry(*index, 0).load(std::memory_order_acquire);
    return std::clamp<int64_t>(highest, 0, entry_capacity(*index) - 1);
}

int64_t position(const platform::SharedMapping& index, int64_t frame) {
    return entry(index, frame + 1).load(std::memory_order_relaxed);
}

}  // namespace qmio::frame_index
