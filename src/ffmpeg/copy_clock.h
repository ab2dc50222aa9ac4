// The times of packets that are copied from one container into another.
#pragma once

#include <cstdint>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

// The two ends of a copied stream.
struct CopyPath {
    const AVStream& source;
    const AVStream& target;
    const AVOutputFormat& format;  // of the target
};

// One for each stream that is copied. Times that are in order pass unchanged but for the time base. What the source
// lacks is made up from what came before; what goes back a little is moved up to the next time that the muxer takes; what
// goes back further, as where a recording or the host begins anew, goes on where the stream stood.
class CopyClock {
  public:
    // By how much times are moved since the last such beginning. The streams of one file share it, so that they stay
    // together.
    using Shift = int64_t;

    // Gives a packet of the source the times of the target.
    void stamp(AVPacket& packet, const CopyPath& path, Shift& shared);

  private:
    void place(AVPacket& packet, const CopyPath& path, Shift& shared);
    Shift shift_for(int64_t dts, Shift shared) const;
    void change_shift(Shift shift, Shift& shared);
    bool follows(int64_t dts) const;
    void rescale(AVPacket& packet, const CopyPath& path);
    void keep_order(AVPacket& packet, const CopyPath& path);

    int64_t last_ = AV_NOPTS_VALUE;         // dts of the packet before, in ticks of our own
    int64_t next_ = AV_NOPTS_VALUE;         // dts that the next packet should have
    Shift shift_ = 0;                       // added to every time of the source
    int64_t last_target_ = AV_NOPTS_VALUE;  // dts of the packet before, in the target's time base
    int64_t delta_ = AV_NOPTS_VALUE;        // FFmpeg's own, of sound
};

}  // namespace qmio::ffmpeg
