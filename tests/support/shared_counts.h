// Numbers in shared memory that come out wrong when two visitors are inside at once.
#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

namespace qmio::test {

struct SharedCounts {
    int64_t visits;
    int64_t meetings;  // visits that met somebody else
    int64_t inside;    // the mark of the latest visitor
};

// In two steps, so that whoever comes in between gets lost.
inline void add_one(int64_t& number) {
    const std::atomic_ref<int64_t> shared(number);
    const int64_t before = shared.load();
    std::this_thread::yield();
    shared.store(before + 1);
}

inline void visit(SharedCounts& counts, int64_t own_mark) {
    const std::atomic_ref<int64_t> inside(counts.inside);
    inside.store(own_mark);
    add_one(counts.visits);
    if (inside.load() != own_mark)
        add_one(counts.meetings);
}

}  // namespace qmio::test
