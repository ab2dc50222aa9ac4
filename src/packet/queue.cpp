#include "packet/queue.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

#include "core/process/trace.h"

namespace qmio::packet {

namespace {

bool is_after(const Entry& one, const Entry& other) {
    return std::tie(one.time, one.type, one.stream) > std::tie(other.time, other.type, other.stream);
}

// The place that `placed` took belongs to the packet of its stream that was read before it, if one lies behind.
void keep_order_of_stream(Entries::iterator placed, Entries::iterator end) {
    for (Entries::iterator later = std::next(placed); later != end; ++later) {
        if (later->type != placed->type || later->stream != placed->stream)
            continue;
        std::swap(placed->pkt, later->pkt);
        std::swap(placed->pass, later->pass);
        placed = later;
    }
}

Entries::iterator end_of_chain(Entries& entries) {
    const Entry& head = entries.front();
    Entries::iterator end = std::next(entries.begin());
    if (head.type == QMIO_PACKET_AUDIO)
        end = std::find_if(end, entries.end(), [&](const Entry& entry) { return entry.time != head.time; });
    return end;
}

}  // namespace

void Queue::insert(Entries& one) {
    const auto before = std::find_if(entries_.rbegin(), entries_.rend(),
                                     [&](const Entry& entry) { return !is_after(entry, one.front()); });
    const Entries::iterator placed = one.begin();
    if (placed->time > max_time_ && placed->time < kNever)
        max_time_ = placed->time;
    entries_.splice(before.base(), one);
    keep_order_of_stream(placed, entries_.end());
}

void Queue::append(Entries& one) {
    one.front().time = max_time_ < kNever ? max_time_ + 1 : kNever;
    entries_.splice(entries_.end(), one);
}

void Queue::push_sorted(Entries one) {
    std::unique_lock lock(mutex_);
    space_ready_.wait(lock, [this] { return has_room(); });
    if (closed_)
        return;
    insert(one);
    if (may_take())
        data_ready_.notify_one();
}

void Queue::push_sync_point(Entries one) {
    one.front().type = kSyncPoint;
    std::unique_lock lock(mutex_);
    // A source without packets between the loop points would fill the memory with sync points alone.
    space_ready_.wait(lock, [this] { return has_room(); });
    if (closed_)
        return;
    append(one);
    if (may_take())
        data_ready_.notify_one();
}

void Queue::push_end(Entries one) {
    Entry& end = one.front();
    end.type = kEnd;
    end.stream = -1;
    end.pkt.reset();
    const std::lock_guard lock(mutex_);
    if (closed_)
        return;
    append(one);
    closed_ = true;
    data_ready_.notify_one();
}

void Queue::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    data_ready_.notify_all();
    space_ready_.notify_all();
}

void Queue::abandon() {
    Entries dropped;
    const std::lock_guard lock(mutex_);
    dropped.swap(entries_);
    closed_ = true;
    data_ready_.notify_all();
    space_ready_.notify_all();
}

void Queue::wait_until_takable(std::unique_lock<std::mutex>& lock) {
    if (may_take())
        return;
    if (tracing(TraceSwitch::fifo))
        print_to_console(L"avfifo_get: wait\n");
    data_ready_.wait(lock, [this] { return may_take(); });
    if (tracing(TraceSwitch::fifo))
        print_to_console(L"avfifo_get: wait SUCCESS\n");
}

Entries Queue::take() {
    Entries taken;
    std::unique_lock lock(mutex_);
    wait_until_takable(lock);
    if (entries_.empty())
        return taken;
    taken.splice(taken.end(), entries_, entries_.begin(), end_of_chain(entries_));
    space_ready_.notify_one();
    return taken;
}

int Queue::size() const {
    const std::lock_guard lock(mutex_);
    return static_cast<int>(entries_.size());
}

int64_t Queue::max_time() const {
    const std::lock_guard lock(mutex_);
    return max_time_;
}

}  // namespace qmio::packet
