// From packet to packet to the next picture.
#pragma once

#include "qmio.h"
#include "read/source.h"

namespace qmio::read {

// What a walk asks on its way.
class Way {
  public:
    enum class Packet { decode, pass_over, stop };

    virtual ~Way() = default;

    // What becomes of the video packet that was read.
    virtual Packet judge(const AVPacket& packet) = 0;

    // True when the pictures that are still inside the decoder at the end of the input are wanted.
    virtual bool drains_at_end() const = 0;
};

struct Step {
    enum class Kind {
        picture,        // `result` tells which, above 0
        broken_packet,  // `result` tells why, below 0
        stopped,        // the way ended before a packet
        gone_on,  // input came after the decoder was drained: it is not decoded, as what it refers to is forgotten
        end,      // of the input; `result` is 0, or the decoder's when it was drained
    };
    Kind kind;
    int result = 0;
    bool has_time = false;  // of a picture: its number is told, by a time of it or of the packet that it came with
};

// Goes on to the next picture, which is converted into `picture`, or only decoded where that has no data.
Step next_picture(Source& source, imio_picture& picture, Way& way);

}  // namespace qmio::read
