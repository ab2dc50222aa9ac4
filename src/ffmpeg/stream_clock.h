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

    // The stream's first dts: that of its first index entry when the demuxer has an index, else the first dts read,
    // else the start time, else AV_NOPTS_VALUE.
    int64_t first_dts(const AVStream& stream) const;

    // The dts of the packet of this stream that was read last; AV_NOPTS_VALUE before any.
    int64_t last_dts(const AVStream& stream) const;

  private:
    struct Entry {
        int64_t first = AV_NOPTS_VALUE;
        int64_t last = AV_NOPTS_VALUE;
    };
    std::vector<Entry> streams_;
};

}  // namespace qmio::ffmpeg
