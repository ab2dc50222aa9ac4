#include "read/choose.h"

#include <algorithm>
#include <optional>

#include "core/handle/frame_numbers.h"
#include "ffmpeg/frame_flags.h"
#include "ffmpeg/picture_units.h"
#include "read/deliver.h"
#include "read/jog.h"
#include "read/open.h"
#include "read/position.h"
#include "read/release.h"
#include "read/walk.h"

namespace qmio::read {

namespace {

using Verdict = PendingSeek::Verdict;

// The way to a sought picture: packets that cannot help are not decoded, pictures on the way may be left out.
class TowardsTarget : public Way {
  public:
    explicit TowardsTarget(Source& source)
        : source_(source),
          pending_(*source.reading.pending),
          non_reference_(*source.video.stream->codecpar),
          keys_are_told_(tells_keys(source.container)),
          first_may_be_a_rest_(lands_inside_frames(source.container)) {}

    Packet judge(const AVPacket& packet) override {
        if (pending_.needs_key())
            switch (judge_before_key(packet)) {
                case Verdict::step_back:
                    return Packet::stop;
                case Verdict::go_on:
                    return Packet::pass_over;
                case Verdict::reached:
                    break;
            }
        choose_skipping(packet);
        return is_left_out(packet) ? Packet::pass_over : Packet::decode;
    }

    bool drains_at_end() const override { return true; }

  private:
    Verdict judge_before_key(const AVPacket& packet) {
        const bool key = times_are_right(packet) && (!keys_are_told_ || (packet.flags & AV_PKT_FLAG_KEY) != 0);
        const int64_t timestamp = key && packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
        if (key && is_strange(packet))
            return Verdict::step_back;
        return pending_.judge_packet(frame_number_of(source_.video, packet, timestamp).value_or(kNoFrame), key);
    }

    // Pictures behind such a packet have no numbers, unless they are counted from the start.
    bool is_strange(const AVPacket& packet) const {
        const CountedPictures* const counted = source_.video.counted.get();
        return counted != nullptr && counted->find(packet) == CountedPictures::kNone;
    }

    bool times_are_right(const AVPacket& packet) {
        // Other packets have times that FFmpeg derived from those of their neighbours.
        if (first_may_be_a_rest_ && packet.pts != AV_NOPTS_VALUE && packet.pos >= 0)
            pending_.note_time();
        return !first_may_be_a_rest_ || pending_.has_time();
    }

    void choose_skipping(const AVPacket& packet) {
        const std::optional<int32_t> number = frame_number_of(source_.video, packet, packet.pts);
        const bool passing = number && pending_.may_leave_out(*number);
        const AVDiscard configured = source_.reading.skip_frame;
        source_.video.codec->skip_frame = passing ? std::max(configured, AVDISCARD_NONREF) : configured;
    }

    // The threads of the decoder get packets in turns, also those that it leaves out: of pictures that refer to each other
    // all might come to the same one.
    bool is_left_out(const AVPacket& packet) const {
        return source_.video.codec->skip_frame >= AVDISCARD_NONREF && non_reference_.is_all_of(packet);
    }

    Source& source_;
    PendingSeek& pending_;
    const ffmpeg::NonReference non_reference_;
    const bool keys_are_told_;
    const bool first_may_be_a_rest_;
};

Passed passed_picture(const Source& source, const Step& step) {
    const AVFrame& picture = *source.reading.pFrame;
    const bool concealed = source.reading.concealment.take();
    return {source.video.have_frame, step.has_time, concealed || ffmpeg::is_damaged(picture),
            ffmpeg::is_whole(picture)};
}

Verdict judge_picture(const Source& source, const Step& step) {
    PendingSeek& pending = *source.reading.pending;
    const Passed passed = passed_picture(source, step);
    const Verdict verdict = pending.judge_picture(passed);
    if (Jog* const jog = source.reading.jog.get(); jog != nullptr && pending.has_begun())
        jog->note_on_way(source, !passed.damaged && passed.has_time, pending.whole_from());
    return verdict;
}

Verdict judge(const Source& source, const Step& step) {
    PendingSeek& pending = *source.reading.pending;
    // With a picture of an earlier packet, too.
    if (source.reading.decoder.take_failure() && pending.judge_broken_packet() == Verdict::step_back)
        return Verdict::step_back;
    switch (step.kind) {
        case Step::Kind::picture:
            return judge_picture(source, step);
        case Step::Kind::broken_packet:
            return Verdict::go_on;
        case Step::Kind::stopped:
            return Verdict::step_back;
        case Step::Kind::gone_on:
            return pending.judge_packet_behind_end();
        case Step::Kind::end:
            break;
    }
    return pending.judge_end();
}

// Positions further before the target than the last time, at the start of the source in the end. False when the
// container refuses all of it.
bool land_earlier(Source& source) {
    PendingSeek& pending = *source.reading.pending;
    const int32_t frames = known_frames(source);
    do {
        const int32_t aim = pending.earlier_landing(frames);
        if (aim > 0 ? position_before(source, aim, pending.by_time()) : position_at_start(source))
            return true;
    } while (!pending.is_at_start());
    return false;
}

bool step_back(Source& source) {
    PendingSeek& pending = *source.reading.pending;
    if (pending.met_damage()) {
        release_kept(source.reading);
        renew_decoder(source);
        pending.begin_again();
    }
    return land_earlier(source);
}

enum class StepBack { allowed, refused };

// The step at which the way to the target ends, its picture not converted; nothing where there is no target, or where it
// would have to begin further back and may not or cannot.
std::optional<Step> reach_target(Source& source, const imio_picture& picture, StepBack stepping_back) {
    imio_picture unconverted = picture;
    unconverted.data = nullptr;
    TowardsTarget way(source);
    for (;;) {
        const Step step = next_picture(source, unconverted, way);
        const Verdict verdict = judge(source, step);
        const bool begins_again =
            verdict == Verdict::step_back && stepping_back == StepBack::allowed && step_back(source);
        if (verdict == Verdict::go_on || begins_again)
            continue;
        return verdict == Verdict::reached && step.result > 0 ? std::optional(step) : std::nullopt;
    }
}

int deliver(Source& source, const Step& step, imio_picture& picture) {
    convert_held_picture(source, &picture);
    return step.result;
}

}  // namespace

void set_target(Source& source, int32_t target, Landing landing) {
    source.reading.pending = std::make_shared<PendingSeek>(target, landing, source.reading.damage);
}

void forget_target(Source& source) {
    source.reading.pending.reset();
    if (source.video.codec != nullptr)
        source.video.codec->skip_frame = source.reading.skip_frame;
}

void forget_passed_target(Source& source) {
    const PendingSeek* const pending = source.reading.pending.get();
    if (pending != nullptr && source.video.have_frame >= pending->target())
        forget_target(source);
}

bool land(Source& source) {
    PendingSeek& pending = *source.reading.pending;
    if (!pending.must_land())
        return true;
    pending.land();
    return position_before(source, pending.target(), pending.by_time()) || land_earlier(source);
}

int read_target(Source& source, imio_picture& picture) {
    const std::optional<Step> step = reach_target(source, picture, StepBack::allowed);
    forget_target(source);
    return step ? deliver(source, *step, picture) : 0;
}

std::optional<int> go_on_to_target(Source& source, imio_picture& picture) {
    const std::optional<Step> step = reach_target(source, picture, StepBack::refused);
    if (!step)
        return std::nullopt;
    forget_target(source);
    return deliver(source, *step, picture);
}

}  // namespace qmio::read
