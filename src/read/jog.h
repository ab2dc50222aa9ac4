// What is known of a handle whose host seeks: the pictures that are kept, where the decoder really stands, and what the
// host takes to be done and is not. A sought picture that is kept is delivered from here, and one that lies a little
// ahead comes of going on, so that container and decoder stand elsewhere than a host could find out by other calls:
// those have all of it done first (catch_up).
#pragma once

#include <cstdint>
#include <memory>

#include "read/pending_seek.h"
#include "read/picture_cache.h"
#include "read/source.h"
#include "read/steps_back.h"

namespace qmio::read {

class Jog {
  public:
    struct Debt {
        bool seek = false;      // to the target: it was not made
        bool pictures = false;  // that one and those behind it were delivered without the way to it
        int32_t target = kNoFrame;
        int32_t read_on = 0;               // how many behind it
        std::shared_ptr<PendingSeek> way;  // to the target, where the seek was made
    };

    // A seek was made: the decoder is flushed and all that it gives from now on is noted.
    void follow(const Source& source, int32_t target);

    // A seek to `target` is owed from now on.
    void put_off(int32_t target);

    // The decoder may have got other packets than ours.
    void lose_track() { follows_ = sought_ = false; }
    bool follows() const { return follows_; }

    // True once behind each of the two.
    bool take_sought();
    bool is_sought() const { return sought_; }

    // A picture came out, `sound` when nothing speaks against its bytes and its number: on the way to a sought one, where
    // none from `whole_from` on was left out, or behind it.
    void note_on_way(const Source& source, bool sound, int32_t whole_from);
    void note_straight(const Source& source, bool sound);

    // The number of the picture that the decoder gave last, behind which it can go on; kNoFrame where it cannot.
    int32_t behind(const Source& source) const;

    // True when a seek to the frame is certain to succeed.
    bool can_owe_seek(const Source& source, int32_t frame) const;

    // True when going on from where the decoder stands is the shorter way to the frame.
    bool can_go_on_to(const Source& source, int32_t frame) const;

    PictureCache pictures;
    StepsBack steps_back;
    Debt debt;
    Debt before_seek;  // what was owed when the seek was made or put off whose picture has not been read yet

  private:
    void leave_debt(Debt next);
    void note(const Source& source, bool sound, int32_t whole_from, bool keeps);

    bool follows_ = false;
    bool sought_ = false;        // the next picture is the sought one
    int32_t lowest_ = kNoFrame;  // frame that was sought with success
    int64_t size_ = 0;           // of the source then, in bytes; negative where it may change
    uint32_t pass_ = 0;          // of the decoder, for what follows
    bool damaged_ = false;
    bool drained_ = false;
    int32_t last_ = kNoFrame;    // picture that came out
    int32_t behind_ = kNoFrame;  // the same, if the one that comes next follows it in order
    int32_t straight_ = 0;       // pictures since the sought one
};

// The handle's, made if there may be one; null where nothing is kept: by the configuration, of a file whose frame-position
// index is attached or whose times depend on the way, of hardware and once something was damaged.
std::shared_ptr<Jog> make_jog(Source& source);

}  // namespace qmio::read
