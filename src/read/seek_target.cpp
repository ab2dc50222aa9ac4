#include "read/seek_target.h"

#include <algorithm>

#include "core/frame_index.h"
#include "core/frame_numbers.h"
#include "ffmpeg/frame_flags.h"
#include "read/decode.h"
#include "read/packets.h"
#include "read/seek.h"

namespace qmio::read {

namespace {

constexpr int kFirstBackOff = 16;  // frames; doubled at every further attempt

enum class Verdict { go_on, step_back, reached };

int packet_number(const MediaHandle& handle, int64_t timestamp) {
    return timestamp != AV_NOPTS_VALUE ? frame_number_at(handle, timestamp) : kNoFrame;
}

// Until a key packet comes, no picture can be whole. A packet that is decoded after the target without one before it
// means that the landing was too late.
Verdict judge_packet(MediaHandle& handle, const AVPacket& packet) {
    PendingSeek& pending = handle.reader.pending;
    if (!pending.need_key)
        return Verdict::reached;
    const int64_t timestamp = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
    const bool key = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    const int number = packet_number(handle, key ? timestamp : packet.dts);
    if (number > pending.target)
        return Verdict::step_back;
    if (!key)
        return Verdict::go_on;
    pending.need_key = false;
    return Verdict::reached;
}

// Pictures that no other refers to need not be decoded on the way. A field may round up to the next number, so the
// one just before the target is decoded like the target.
void choose_skipping(MediaHandle& handle, const AVPacket& packet) {
    PendingSeek& pending = handle.reader.pending;
    const bool passing =
        !pending.decode_all && packet.pts != AV_NOPTS_VALUE && frame_number_at(handle, packet.pts) < pending.target - 1;
    pending.skipped |= passing;
    const AVDiscard configured = handle.reader.skip_frame;
    handle.reader.pCodecCtx->skip_frame = passing ? std::max(configured, AVDISCARD_NONREF) : configured;
}

// `packet` may be null: the picture was waiting inside the decoder.
Verdict judge_picture(ReaderState& reader, const AVPacket* packet) {
    PendingSeek& pending = reader.pending;
    // Without timestamps pictures are counted, and counting begins at the start.
    if (!pending.at_start && picture_timestamp(*reader.pFrame, packet) == AV_NOPTS_VALUE)
        return Verdict::step_back;
    pending.damaged |= ffmpeg::is_damaged(*reader.pFrame);
    if (reader.have_frame < pending.target) {
        pending.seen_earlier = true;
        return Verdict::go_on;
    }
    // What a decoder makes of damage depends on all that it decoded before.
    if (pending.damaged && !(pending.at_start && !pending.skipped))
        return Verdict::step_back;
    if (pending.at_start)
        return Verdict::reached;
    return reader.have_frame == pending.target || pending.seen_earlier ? Verdict::reached : Verdict::step_back;
}

// At the end of the input the last pictures are still inside the decoder. When there is none left, the target does not
// exist, unless the landing was too late to see anything.
Verdict drain_towards(MediaHandle& handle, imio_picture& unconverted, int* result) {
    ReaderState& reader = handle.reader;
    *result = decode_packet(handle, &unconverted, nullptr);
    if (*result > 0)
        return judge_picture(reader, nullptr);
    return reader.pending.seen_earlier || reader.pending.at_start ? Verdict::reached : Verdict::step_back;
}

// One step towards the target; *result is the decode result, 0 while nothing came out.
Verdict decode_towards(MediaHandle& handle, imio_picture& unconverted, int* result) {
    ReaderState& reader = handle.reader;
    *result = deliver_kept(handle, &unconverted);
    if (*result > 0)
        return judge_picture(reader, nullptr);
    if (!next_video_packet(handle))
        return drain_towards(handle, unconverted, result);
    Verdict verdict = judge_packet(handle, *reader.packet);
    if (verdict == Verdict::reached) {
        choose_skipping(handle, *reader.packet);
        *result = decode_packet(handle, &unconverted, reader.packet.get());
        // A packet that cannot be decoded is as good as absent; the next picture tells where we are.
        verdict = *result > 0 ? judge_picture(reader, reader.packet.get()) : Verdict::go_on;
        reader.pending.damaged |= *result < 0;
    }
    release_frame(handle);
    return verdict;
}

void note_landing(PendingSeek& pending) {
    pending.need_key = !pending.at_start;
    pending.seen_earlier = false;
    pending.skipped = false;
    pending.damaged = false;
}

// Positions before the last landing, by one step of the back-off; false when the container refuses.
bool seek_further_back(MediaHandle& handle) {
    PendingSeek& pending = handle.reader.pending;
    // Behind the last frame there is nothing to land on, however far the target lies.
    const int last = std::max(handle.reader.frame_count, 1);
    const int origin = std::min(pending.target, last);
    if (pending.exact_landing)
        pending.exact_landing = false;  // this time to the key packet before the target
    else
        pending.back_off = pending.back_off > origin / 2 ? origin : std::max(kFirstBackOff, pending.back_off * 2);
    if (const int aim = origin - pending.back_off; aim > 0)
        return seek_before(handle, aim, pending.by_time);
    pending.at_start = true;
    return seek_to_start(handle);
}

bool begin_again_whole(MediaHandle& handle) {
    PendingSeek& pending = handle.reader.pending;
    pending.decode_all = true;
    pending.at_start = true;
    note_landing(pending);
    return seek_to_start(handle);
}

// Positions further before the target than the last time, at the start of the source in the end. False when the
// container refuses all of it.
bool land_earlier(MediaHandle& handle) {
    PendingSeek& pending = handle.reader.pending;
    while (!pending.at_start) {
        const bool landed = seek_further_back(handle);
        note_landing(pending);
        if (landed)
            return true;
    }
    return false;
}

// Every damaged landing leads to the start of the source, where what comes out is what sequential reading gives.
bool step_back(MediaHandle& handle) {
    const PendingSeek& pending = handle.reader.pending;
    return pending.damaged || pending.at_start ? begin_again_whole(handle) : land_earlier(handle);
}

}  // namespace

void set_target(MediaHandle& handle, int target, bool exact_landing) {
    PendingSeek& pending = handle.reader.pending;
    pending = PendingSeek();
    pending.target = target;
    pending.exact_landing = exact_landing;
    pending.by_time = exact_landing;
    note_landing(pending);
}

void forget_target(MediaHandle& handle) {
    handle.reader.pending = PendingSeek();
    if (handle.reader.pCodecCtx != nullptr)
        handle.reader.pCodecCtx->skip_frame = handle.reader.skip_frame;
}

int read_target(MediaHandle& handle, imio_picture& picture) {
    imio_picture unconverted = picture;
    unconverted.data = nullptr;
    int result = 0;
    for (;;) {
        const Verdict verdict = decode_towards(handle, unconverted, &result);
        if (verdict == Verdict::reached)
            break;
        if (verdict == Verdict::step_back && !step_back(handle)) {
            forget_target(handle);
            return 0;
        }
    }
    forget_target(handle);
    if (result > 0)
        convert_held_picture(handle, &picture);
    return std::max(result, 0);
}

}  // namespace qmio::read
