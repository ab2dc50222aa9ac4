// What is known on the way to a sought picture.
//
// A container lands where its index lets it: at a key frame before the target, between key frames, or behind the
// target. From there pictures are decoded forward until their number reaches the target. Where the landing turns out to
// be too late, the next one lies further back, at the start of the source in the end.
//
// What a decoder makes of damage depends on all that it decoded before, and the picture that is sought is the one that
// reading in order gives. So a way on which something is damaged begins again further back, and what comes out then
// counts if there was no damage for so long that what lies before no longer matters. If there was, only the start of the
// source is left; no GOP makes a handle go there twice.
#pragma once

#include <cstdint>

#include "core/handle/reading.h"

namespace qmio::read {

// Where the container was put when a picture was sought.
enum class Landing {
    key_packet,  // or before one
    any_packet,
    start,    // of the source
    here,     // it was not put anywhere: a picture before came out, and the decoder goes on
    nowhere,  // it could not be put, or lost the time: it is put by time before anything is read
};

// A picture that came out, as far as it matters on the way.
struct Passed {
    int32_t number = 0;
    bool has_time = true;
    bool damaged = false;
    bool whole = true;  // made without any picture before it
};

class PendingSeek {
  public:
    enum class Verdict { go_on, step_back, reached };

    // `known` is the handle's and outlives this.
    PendingSeek(int32_t target, Landing landing, KnownDamage& known);

    int32_t target() const { return target_; }

    // True when the frame-position index is left alone.
    bool by_time() const { return by_time_; }

    // True until the container stands where the way begins.
    bool must_land() const { return must_land_; }
    void land() { must_land_ = false; }

    // A packet told its time; the first that does after a landing may have taken that of another.
    void note_time() { ++times_told_; }
    bool has_time() const { return times_told_ > 1; }

    // Until a key packet comes, no picture can be whole: true while packets must be looked at before they are decoded.
    bool needs_key() const { return need_key_; }

    // About the number of a packet, while a key packet is needed: of its decoding, or of its picture when it is a key
    // packet. Going on means leaving it out, reached that it is decoded.
    Verdict judge_packet(int32_t number, bool key);

    // True when a picture with this number only lies on the way and may be left out of decoding where no other refers to
    // it. A field may round up to the next number, so the one just before the target is decoded like the target.
    bool may_leave_out(int32_t number) const;

    // None from this one on, which is not behind the target, is left out.
    void decode_whole_from(int32_t number) { whole_from_ = number; }
    int32_t whole_from() const { return whole_from_; }

    // True when pictures that come out are whole.
    bool has_begun() const { return begun_; }

    Verdict judge_picture(const Passed& picture);

    // About the end of the input: the target does not exist, unless the landing was too late to see anything.
    Verdict judge_end() const;

    // About a packet behind what was taken for the end, by which the decoder was drained: a demuxer that went on after an
    // error. The way from the start has nothing further back to begin with, and would meet that for ever.
    Verdict judge_packet_behind_end() const;

    // About a packet that gave nothing but an error.
    Verdict judge_broken_packet();

    // True when the way is given up because of damage. It begins again with a new decoder.
    bool met_damage() const { return damaged_; }
    void begin_again();

    // The frame before which to land next; 0: at the start of the source. `frame_count` is the source's.
    int32_t earlier_landing(int32_t frame_count);
    bool is_at_start() const { return at_start_; }

  private:
    void note_landing();
    bool begins_earlier() const { return goal_ < target_; }
    bool damage_counts() const;
    Verdict give_up_damaged();

    KnownDamage& known_;
    int32_t target_;
    int32_t whole_from_;
    int32_t goal_;           // the way begins with a key packet that is not behind this frame
    int32_t first_key_ = 0;  // number of the key packet that ways to the target itself begin with
    int32_t back_off_ = 0;   // how many frames before the goal the last landing aimed
    bool aims_at_goal_;      // the next landing aims at the goal, as no key packet before it was looked for yet
    bool by_time_;
    bool must_land_;
    bool at_start_;             // nothing lies before: what comes out is what sequential reading gives
    bool begun_again_ = false;  // because of damage: by a new decoder on one thread
    // Since the landing:
    bool need_key_ = true;  // no key packet was read
    int32_t times_told_ = 0;
    bool begun_ = false;         // a picture that needs no other came out, and those behind it are whole
    bool seen_earlier_ = false;  // a picture before the target came out
    int32_t passed_ = 0;         // pictures that came out
    bool damaged_ = false;       // something could not be decoded whole, and that counts
};

}  // namespace qmio::read
