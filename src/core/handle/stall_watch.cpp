#include "core/handle/stall_watch.h"

#include <algorithm>

namespace qmio {

namespace {

// FFmpeg's waits last a tenth of a second each. Who is asked again much sooner than that is asked about another wait: the
// one before has come to something. Bytes are no measure, since RTSP, RTMP and playlists fetch theirs out of sight.
constexpr std::chrono::milliseconds kNotAWholeWait(50);

}  // namespace

void StallWatch::begin(Limit limit, Clock::time_point now) {
    const Limit longest = std::chrono::hours(24 * 365);  // what is counted in nanoseconds has to fit
    stalled_ = false;
    last_asked_ = now.time_since_epoch().count();
    last_progress_ = now.time_since_epoch().count();
    limit_ = Clock::duration(std::clamp(limit, Limit(0), longest)).count();
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

}  // namespace qmio
