#include "read/jogging.h"

#include <algorithm>
#include <utility>

#include "core/handle/frame_numbers.h"
#include "core/process/trace.h"
#include "read/choose.h"
#include "read/decode.h"
#include "read/deliver.h"
#include "read/jog.h"
#include "read/packets.h"
#include "read/position.h"
#include "read/seek.h"
#include "read/straight_on.h"

namespace qmio::read {

namespace {

// A way that is to be gone again begins anew with a picture this far behind the sought one.
constexpr int32_t kReadOn = 120;

imio_picture unconverted() {
    return {};
}

// Reads behind a sought picture that are owed, and the way to it.
void read_again(Source& source, int32_t pictures) {
    imio_picture picture = unconverted();
    for (; pictures > 0; --pictures)
        read_from_here(source, picture);
}

// Makes the seek, goes the way and reads on, as the host was told.
void pay(Source& source, Jog& jog) {
    Jog::Debt debt = std::exchange(jog.debt, {});
    const int64_t position = source.reading.seek_position;
    if (debt.seek && !make_seek(source, debt.target))
        return;
    if (debt.seek)
        source.reading.seek_position = position;
    else if (debt.pictures)
        source.reading.pending = std::move(debt.way);
    if (!debt.pictures)
        return;
    jog.take_sought();
    read_again(source, debt.read_on + 1);
}

// Between a seek and the next picture what the way to the one before left behind is still seen: the packets in hand and
// the position in the file.
void pay_before_seek(Source& source, Jog& jog) {
    Jog::Debt before = std::exchange(jog.before_seek, {});
    if (!jog.is_sought() || !before.pictures || source.reading.pending == nullptr)
        return;
    const int32_t target = source.reading.pending->target();
    jog.debt = std::move(before);
    pay(source, jog);
    jog.debt = {true, false, target, 0, nullptr};
}

// What follows may leave the decoder with packets that were chosen by others.
void catch_up_with(MediaHandle& handle) {
    Source source(handle);
    const std::shared_ptr<Jog> jog = handle.reading.jog;
    const int64_t position = source.reading.seek_position;
    pay_before_seek(source, *jog);
    source.reading.seek_position = position;
    pay(source, *jog);
    jog->lose_track();
}

// What a trace tells of reading and seeking is what is done.
bool is_traced() {
    return tracing(TraceSwitch::read) || tracing(TraceSwitch::seek) || tracing(TraceSwitch::decoder);
}

// Null where the handle is read without.
std::shared_ptr<Jog> jog_at_work(Source& source) {
    std::shared_ptr<Jog> jog = source.reading.jog;
    if (jog != nullptr && (is_traced() || is_read_in_background(source)))
        catch_up(source.media);
    return jog != nullptr && jog->follows() ? jog : nullptr;
}

// False where there is no memory for another reference, or nothing to deliver.
bool deliver_kept_picture(Source& source, const PictureCache::Kept* kept, imio_picture& picture) {
    if (kept == nullptr)
        return false;
    AVFrame& held = *source.reading.pFrame;
    av_frame_unref(&held);
    if (av_frame_ref(&held, kept->frame.get()) < 0)
        return false;
    source.video.have_frame = kept->number;
    source.video.want_frame = kept->number + 1;
    source.reading.numbered = true;
    release_frame(source);
    convert_held_picture(source, &picture);
    return true;
}

int read_sought(Source& source, Jog& jog, imio_picture& picture) {
    const int32_t target = source.reading.pending->target();
    if (deliver_kept_picture(source, jog.pictures.find(target), picture)) {
        std::shared_ptr<PendingSeek> way = std::move(source.reading.pending);
        forget_target(source);
        jog.debt = {jog.debt.seek, true, target, 0, std::move(way)};
        return field_result(*source.reading.pFrame);
    }
    if (jog.debt.seek) {
        if (const std::optional<int> result = go_on_to_target(source, picture)) {
            jog.debt.pictures = true;
            return *result;
        }
        pay(source, jog);
        jog.take_sought();
    }
    return read_from_here(source, picture);
}

void owe_one_more(Jog& jog, int32_t number) {
    ++jog.debt.read_on;
    if (jog.debt.seek && jog.debt.read_on > kReadOn)
        jog.debt = {true, true, number, 0, nullptr};
}

// Where the decoder stands just behind the picture that is held.
bool go_straight_on(Source& source, Jog& jog, imio_picture& picture) {
    if (jog.behind(source) != source.video.have_frame)
        return false;
    imio_picture plain = unconverted();
    const Step step = step_straight_on(source, plain);
    if (step.kind != Step::Kind::picture || jog.behind(source) != source.video.have_frame)
        return false;
    convert_held_picture(source, &picture);
    return true;
}

// Behind a picture to which the way was not gone.
int read_on(Source& source, Jog& jog, imio_picture& picture) {
    if (deliver_kept_picture(source, jog.pictures.find_next(source.video.have_frame), picture) ||
        go_straight_on(source, jog, picture)) {
        owe_one_more(jog, source.video.have_frame);
        return field_result(*source.reading.pFrame);
    }
    pay(source, jog);
    return read_from_here(source, picture);
}

// How many pictures before the target are decoded whole on the way to it, as the host is likely to ask for them. Behind the
// last picture it is seen by the number of the one held which of those before it were left out.
int32_t worth_keeping(const Source& source, const Jog& jog, int32_t left, int32_t target) {
    if (target >= known_frames(source))
        return 0;
    const int32_t room = std::max(jog.pictures.capacity_for(*source.reading.pFrame) - 1, 0);
    return StepsBack::is_step_back(left, target) ? room : std::min(jog.steps_back.expected(), room);
}

}  // namespace

bool can_put_off_seek(Source& source, int32_t frame) {
    const std::shared_ptr<Jog> jog = jog_at_work(source);
    if (jog == nullptr || !jog->can_owe_seek(source, frame))
        return false;
    return jog->pictures.find(frame) != nullptr || jog->can_go_on_to(source, frame);
}

int owe_seek(Source& source, int32_t frame) {
    AVStream& stream = *source.video.stream;
    source.reading.jog->steps_back.note(source.video.have_frame, frame);
    flush_audio_decoders(source.tracks, source.sound);
    source.video.have_frame = kNoFrame;
    source.video.want_frame = frame;
    set_target(source, frame, Landing::here);
    source.reading.seek_position = scale_time(time_of_frame(source, stream, frame), stream.time_base, AV_TIME_BASE);
    source.container.clock.note_seek();
    source.reading.jog->put_off(frame);
    return frame;
}

void note_seek(Source& source, int32_t left) {
    const std::shared_ptr<Jog> jog = is_traced() ? nullptr : make_jog(source);
    if (jog == nullptr)
        return;
    source.reading.catch_up = catch_up_with;
    PendingSeek& pending = *source.reading.pending;
    const int32_t target = pending.target();
    jog->follow(source, target);
    jog->steps_back.note(left, target);
    if (const int32_t whole = worth_keeping(source, *jog, left, target); whole > 0)
        pending.decode_whole_from(std::max(target - whole, 0));
}

int read_jogging(Source& source, imio_picture& picture) {
    const std::shared_ptr<Jog> jog = jog_at_work(source);
    if (jog == nullptr)
        return read_from_here(source, picture);
    if (jog->take_sought() && source.reading.pending != nullptr)
        return read_sought(source, *jog, picture);
    return jog->debt.pictures ? read_on(source, *jog, picture) : read_from_here(source, picture);
}

}  // namespace qmio::read
