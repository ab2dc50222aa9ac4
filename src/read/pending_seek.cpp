#include "read/pending_seek.h"

#include <algorithm>

namespace qmio::read {

namespace {

constexpr int32_t kFirstBackOff = 16;  // frames; doubled at every further attempt, past half of the way it is all of it

// Where FFmpeg conceals damage in H.264 it may look at the motion of pictures whose memory it uses again, and so at what
// was decoded long before. Of the damaged GOPs that were measured most were right when 20 pictures were decoded before them,
// all but one in 200 when there were 40, and that one, too, with 80. Damage is noticed up to 16 pictures, as many as
// a decoder holds back, before the picture comes out.
constexpr int32_t kEnoughPassed = 80;
constexpr int32_t kFurtherBack = kEnoughPassed + 16;

}  // namespace

PendingSeek::PendingSeek(int32_t target, Landing landing, KnownDamage& known)
    : known_(known),
      target_(target),
      whole_from_(target),
      goal_(target),
      aims_at_goal_(landing == Landing::any_packet),
      by_time_(landing == Landing::any_packet || landing == Landing::nowhere),
      must_land_(landing == Landing::nowhere),
      at_start_(landing == Landing::start) {
    note_landing();
    if (landing != Landing::here)
        return;
    need_key_ = false;
    begun_ = true;
    seen_earlier_ = true;
}

// A packet that is decoded after the goal without a key packet before it means that the landing was too late.
PendingSeek::Verdict PendingSeek::judge_packet(int32_t number, bool key) {
    if (number > goal_)
        return Verdict::step_back;
    if (!key)
        return Verdict::go_on;
    need_key_ = false;
    if (!begins_earlier())
        first_key_ = number;
    return Verdict::reached;
}

bool PendingSeek::may_leave_out(int32_t number) const {
    return !known_.noticed && number < whole_from_ - 1;
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
    if (picture.damaged && damage_counts())
        return give_up_damaged();
    ++passed_;
    if (number < target_) {
        seen_earlier_ = true;
        return Verdict::go_on;
    }
    return at_start_ || number == target_ || seen_earlier_ ? Verdict::reached : Verdict::step_back;
}

PendingSeek::Verdict PendingSeek::judge_end() const {
    return seen_earlier_ || at_start_ ? Verdict::reached : Verdict::step_back;
}

PendingSeek::Verdict PendingSeek::judge_packet_behind_end() const {
    return at_start_ ? Verdict::reached : Verdict::step_back;
}

PendingSeek::Verdict PendingSeek::judge_broken_packet() {
    // Before the first whole picture nothing needs to decode.
    return begun_ && damage_counts() ? give_up_damaged() : Verdict::go_on;
}

// Not where all before it was decoded as reading in order does it, by a decoder that knows nothing else: from the start
// on, or so much of it that the rest does not matter.
bool PendingSeek::damage_counts() const {
    if (!begun_again_)
        return true;
    if (at_start_ || passed_ >= kEnoughPassed)
        return false;
    const std::vector<int32_t>& passed = known_.passed_from_start;
    return std::find(passed.begin(), passed.end(), first_key_) == passed.end();
}

PendingSeek::Verdict PendingSeek::give_up_damaged() {
    damaged_ = true;
    return Verdict::step_back;
}

void PendingSeek::begin_again() {
    known_.noticed = true;
    begun_again_ = true;
    if (begins_earlier())
        known_.passed_from_start.push_back(first_key_);
    goal_ = begins_earlier() || at_start_ ? 0 : first_key_ - kFurtherBack;
    aims_at_goal_ = true;
    back_off_ = 0;
}

int32_t PendingSeek::earlier_landing(int32_t frame_count) {
    // Behind the last frame there is nothing to land on, however far the target lies.
    const int32_t origin = std::min(goal_, std::max(frame_count, 1));
    if (aims_at_goal_)
        aims_at_goal_ = false;
    else
        back_off_ = at_start_ || back_off_ > origin / 2 ? origin : std::max(kFirstBackOff, back_off_ * 2);
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
    passed_ = 0;
    damaged_ = false;
}

}  // namespace qmio::read
