#include "read/pending_seek.h"

#include <algorithm>

namespace qmio::read {

namespace {

constexpr int32_t kFirstBackOff = 16;  // frames; doubled at every further attempt, past half of the way it is all of it

}  // namespace

PendingSeek::PendingSeek(int32_t target, Landing landing)
    : target_(target),
      exact_landing_(landing == Landing::any_packet),
      by_time_(landing == Landing::any_packet || landing == Landing::nowhere),
      must_land_(landing == Landing::nowhere),
      at_start_(landing == Landing::start) {
    note_landing();
}

// A packet that is decoded after the target without a key packet before it means that the landing was too late.
PendingSeek::Verdict PendingSeek::judge_packet(int32_t number, bool key) {
    if (number > target_)
        return Verdict::step_back;
    if (!key)
        return Verdict::go_on;
    need_key_ = false;
    return Verdict::reached;
}

bool PendingSeek::may_leave_out(int32_t number) {
    const bool passing = !decode_all_ && number < target_ - 1;
    skipped_ |= passing;
    return passing;
}

PendingSeek::Verdict PendingSeek::judge_picture(const Passed& picture) {
    const int32_t number = picture.number;
    // Without timestamps pictures are counted, and counting begins at the start.
    if (!at_start_ && !picture.has_time)
        return Verdict::step_back;
    // Some decoders make a picture of a packet that refers to what was never read, and say nothing of it.
    begun_ |= picture.whole;
    if (!begun_)
        return number < target_ ? Verdict::go_on : Verdict::step_back;
    damaged_ |= picture.damaged;
    if (number < target_) {
        seen_earlier_ = true;
        return Verdict::go_on;
    }
    // What a decoder makes of damage depends on all that it decoded before.
    if (damaged_ && !(at_start_ && !skipped_))
        return Verdict::step_back;
    return at_start_ || number == target_ || seen_earlier_ ? Verdict::reached : Verdict::step_back;
}

PendingSeek::Verdict PendingSeek::judge_end() const {
    return seen_earlier_ || at_start_ ? Verdict::reached : Verdict::step_back;
}

void PendingSeek::begin_again() {
    decode_all_ = true;
    at_start_ = true;
    note_landing();
}

int32_t PendingSeek::step_back(int32_t frame_count) {
    // Behind the last frame there is nothing to land on, however far the target lies.
    const int32_t origin = std::min(target_, std::max(frame_count, 1));
    if (exact_landing_)
        exact_landing_ = false;  // this time to the key packet before the target
    else
        back_off_ = back_off_ > origin / 2 ? origin : std::max(kFirstBackOff, back_off_ * 2);
    const int32_t aim = std::max(origin - back_off_, 0);
    at_start_ = aim == 0;
    note_landing();
    return aim;
}

void PendingSeek::note_landing() {
    need_key_ = !at_start_;
    times_told_ = 0;
    begun_ = at_start_;
    seen_earlier_ = false;
    skipped_ = false;
    damaged_ = false;
}

}  // namespace qmio::read
