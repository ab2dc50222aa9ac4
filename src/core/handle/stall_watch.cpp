#include "core/handle/stall_watch.h"

#include <algorithm>

namespace qmio {

namespace {

// FFmpeg's waits last a tenth of a second each. Who is asked again much sooner than that is asked about another wait: the
// one before has come to something. Bytes are no measure, since RTSP, RTMP and playlists fetch theirs out of sight.
constexpr std::chrono::milliseconds kNotAWholeWait(50);

// What is counted in nanoseconds has to fit.
StallWatch::Clock::duration held_in_bounds(StallWatch::Limit limit) {
    return std::clamp<StallWatch::Limit>(limit, StallWatch::Limit(0), std::chrono::hours(24 * 365));
}

}  // namespace

void StallWatch::begin(Limit limit, Clock::time_point now) {
    stalled_ = false;
    last_asked_ = now.time_since_epoch().count();
    last_progress_ = now.time_since_epoch().count();
    limit_ = held_in_bounds(limit).count();
}

void StallWatch::end() {
    limit_ = 0;
    stalled_ = false;
}

bool StallWatch::asked(Clock::time_point now) {
    const Ticks limit = limit_.load(std::memory_order_relaxed);
    if (limit == 0 || has_stalled())
        return has_stalled();
    const Ticks ticks = now.time_since_epoch().count();
    if (Clock::duration(ticks - last_asked_.exchange(ticks)) < kNotAWholeWait)
        last_progress_ = ticks;
    if (ticks - last_progress_ > limit)
        stalled_ = true;
    return has_stalled();
}

void Deadline::begin(StallWatch::Limit limit, Clock::time_point now) {
    passed_ = false;
    moment_ = limit.count() > 0 ? (now.time_since_epoch() + held_in_bounds(limit)).count() : 0;
}

bool Deadline::asked(Clock::time_point now) {
    const Clock::duration::rep moment = moment_.load(std::memory_order_relaxed);
    if (moment != 0 && now.time_since_epoch().count() > moment)
        passed_ = true;
    return has_passed();
}

}  // namespace qmio
