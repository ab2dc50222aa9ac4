// The first and the last decoding timestamp of each stream, which FFmpeg no longer publishes.
#pragma once

#include <cstdint>
#include <vector>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

class StreamClock {
  public:
    // Remembers a packet that was read.
    void note(const AVPacket& packet);

    // From now on packets may come from anywhere: the first that is read of a stream need not be its first.
    void note_seek() { from_start_ = false; }

    // The stream's first dts: the first dts read from the start, else that of its first index entry when the demuxer has an
    // index, else the start time, else AV_NOPTS_VALUE.
    int64_t first_dts(const AVStream& stream) const;

    // True once a packet of the stream told its first dts.
    bool knows_first(int stream) const;

    // The dts of the packet of this stream that was read last; AV_NOPTS_VALUE before any.
    int64_t last_dts(const AVStream& stream) const;

  private:
    struct Entry {
        int64_t first = AV_NOPTS_VALUE;
        int64_t last = AV_NOPTS_VALUE;
    };
    std::vector<Entry> streams_;
    bool from_start_ = true;
};

}  // namespace qmio::ffmpeg
