// The pictures of a source whose packets were read once when it was opened: which packet brings which of them.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "ffmpeg/ffmpeg.h"

namespace qmio {

class CountedPictures {
  public:
    static constexpr int32_t kNone = -1;

    struct Packet {
        int64_t pts = AV_NOPTS_VALUE;  // as the demuxer tells it, in the time base of the stream
        int64_t dts = AV_NOPTS_VALUE;  // the same
        int64_t position = -1;         // byte position; below 0 when unknown
        int32_t number = kNone;        // of its picture in the order in which pictures are shown
        bool key = false;
        bool shown = true;  // the picture comes of this packet, and not of another of the same number
    };

    // The video stream's packets in the order in which they are decoded; the numbers of those that are shown are 0, 1, 2 and
    // so on, each once.
    explicit CountedPictures(std::vector<Packet> packets);

    // How many pictures there are.
    int32_t count() const { return static_cast<int32_t>(pictures_.size()); }

    // Which of the packets this one is, wherever it was read; kNone for one that is not known again.
    int32_t find(const AVPacket& packet) const;

    // Number of the picture of the packet; kNone also where it brings none.
    int32_t number_of(const AVPacket& packet) const;

    // By what find() returned.
    const Packet& packet(int32_t place) const { return packets_[static_cast<std::size_t>(place)]; }

    // The packet of a picture; of the first or last where there is no such number.
    const Packet& picture(int32_t number) const { return packet(place_of(number)); }

    // The last key packet from where the picture can be decoded; the first packet of all where there is none.
    const Packet& key_before(int32_t number) const;

  private:
    // What tells packets apart, in the order in which it is asked: the place in the file is the same however the demuxer
    // came there, while times may have been derived from those of the neighbours.
    enum Name : std::size_t { kPosition, kPts, kDts, kNames };
    struct Entry {
        int64_t value;
        int32_t place;
    };

    static int64_t name(const Packet& packet, Name kind);
    int32_t place_of(int32_t number) const;
    void enter_names(Name kind);

    std::vector<Packet> packets_;
    std::vector<int32_t> pictures_;                 // place of the packet by number
    std::array<std::vector<Entry>, kNames> names_;  // sorted; empty where packets lack the name or share one
};

}  // namespace qmio
