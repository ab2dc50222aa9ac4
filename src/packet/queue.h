// The packets that the background reader has read ahead, in the order of their times. The reader's thread puts them in, the
// host's takes them out.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <limits>
#include <list>
#include <mutex>

#include "ffmpeg/owners.h"
#include "qmio.h"

namespace qmio::packet {

// Kinds of entries beside QMIO_PACKET_VIDEO and QMIO_PACKET_AUDIO.
inline constexpr int32_t kSyncPoint = QMIO_PACKET_OTHER;
inline constexpr int32_t kEnd = -1;

inline constexpr int64_t kNever = std::numeric_limits<int64_t>::max();

struct Entry {
    int64_t time = 0;  // microseconds, counted on over all passes of a loop
    int32_t type = kEnd;
    int32_t stream = -1;    // of the container; -1 for a sync point and for the end
    ffmpeg::PacketPtr pkt;  // null likewise
    int32_t pass = 0;       // the reader's pass over the source that the packet comes from
};
using Entries = std::list<Entry>;

// What is put in or taken out changes hands as lists, so that nothing is allocated, and nothing can fail, inside the lock.
class Queue {
  public:
    static constexpr int kCapacity = 500;

    // Puts an entry where its time belongs, after those of the same time, type and stream; waits for room. The packets of
    // each stream come out in the order in which they went in, which is the one that decoders need: where the passes of a
    // loop overlap in time they only change places. Dropped after the end.
    void push_sorted(Entries one);

    // Puts a sync point, for which it waits as well, or the end behind everything.
    void push_sync_point(Entries one);
    void push_end(Entries one);

    // Nothing goes in any more and everything may be taken: also what the end is, when there was no memory for its entry.
    void close();

    // Drops everything and closes.
    void abandon();

    // The entry next in time: waits until more than half the capacity is there, since what is read later may belong
    // earlier, or until the end. Sound comes together with all that follows with the same time. Empty behind the end.
    Entries take();

    int size() const;

    // The largest time of all entries so far.
    int64_t max_time() const;

  private:
    bool has_room() const { return closed_ || static_cast<int>(entries_.size()) < kCapacity; }
    bool may_take() const { return closed_ || static_cast<int>(entries_.size()) > kCapacity / 2; }
    void insert(Entries& one);
    void append(Entries& one);
    void wait_until_takable(std::unique_lock<std::mutex>& lock);

    mutable std::mutex mutex_;
    std::condition_variable data_ready_;
    std::condition_variable space_ready_;
    Entries entries_;
    bool closed_ = false;
    int64_t max_time_ = 0;
};

}  // namespace qmio::packet
