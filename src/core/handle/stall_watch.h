// How long a source may stand still, and how long its open may last.
#pragma once

#include <atomic>
#include <chrono>

namespace qmio {

// Told of every time that FFmpeg asks whether it should go on waiting: it asks before each read of the network and then
// ten times a second for as long as nothing comes. Any thread may ask.
class StallWatch {
  public:
    using Clock = std::chrono::steady_clock;
    using Limit = std::chrono::microseconds;

    // From now on a source that stands still for longer than `limit` has stalled; 0 and below: it never has.
    void begin(Limit limit, Clock::time_point now = Clock::now());
    void end();

    // True from the first time that the source had stood still for too long, to the end of the watch.
    bool asked(Clock::time_point now = Clock::now());
    bool has_stalled() const { return stalled_.load(std::memory_order_relaxed); }

  private:
    using Ticks = Clock::duration::rep;

    std::atomic<Ticks> limit_{0};
    std::atomic<Ticks> last_asked_{0};
    std::atomic<Ticks> last_progress_{0};
    std::atomic<bool> stalled_{false};
};

// A moment behind which nothing is waited for any more. Any thread may ask.
class Deadline {
  public:
    using Clock = StallWatch::Clock;

    // After `limit`; 0: never.
    void begin(StallWatch::Limit limit, Clock::time_point now = Clock::now());
    void end() { begin(StallWatch::Limit(0)); }

    // True from the first time that it was asked too late.
    bool asked(Clock::time_point now = Clock::now());
    bool has_passed() const { return passed_.load(std::memory_order_relaxed); }

  private:
    std::atomic<Clock::duration::rep> moment_{0};
    std::atomic<bool> passed_{false};
};

}  // namespace qmio
