// The packets of one track, read in their order and decoded, by a container and a decoder of their own: whatever the
// handle reads, these stand where they stand.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/handle/container.h"
#include "core/text/names.h"
#include "ffmpeg/owners.h"

namespace qmio::read {

// What a packet is known by.
struct PacketMark {
    uint64_t key = 0;  // of its bytes, its place in the file and what it says of samples to leave out
    int64_t time = AV_NOPTS_VALUE;
    int64_t quarter = 0;  // of its duration; times of one packet read twice differ by no more
    bool operator==(const PacketMark& other) const;
};

using Frames = std::vector<ffmpeg::FramePtr>;

class SoundCursor {
  public:
    // `owner` is the container of the handle, by whose cancelling this one ends, too.
    SoundCursor(std::shared_ptr<const Request> request, const Container& owner, int stream, const AVCodec* decoder)
        : request_(std::move(request)), owner_(owner), stream_(stream), decoder_(decoder) {}

    // Begins anew: the next packet is number 0, the decoder knows of none. False when the source cannot be opened again.
    bool rewind();

    // Goes to packet `number`, which has this mark; the decoder knows of none. False when it is not found there any more.
    bool move_to(int64_t number, const PacketMark& mark);

    // Number of the next packet.
    int64_t number() const { return number_; }

    // Reads the next packet of the track; false at the end and on errors.
    bool next();
    const PacketMark& mark() const { return mark_; }

    // Decodes the packet read last, or takes out what the decoder holds at the end; adds to `frames`.
    void decode(Frames& frames);
    void drain(Frames& frames);

  private:
    bool is_open() const { return container_ != nullptr; }
    bool open();
    bool renew_decoder();
    bool read();
    bool find_by_time(int64_t number, const PacketMark& mark);
    bool find_from(int64_t time, int64_t number, const PacketMark& mark);
    bool find_by_counting(int64_t number, const PacketMark& mark);
    int receive(Frames& frames);

    std::shared_ptr<const Request> request_;
    const Container& owner_;
    int stream_;
    const AVCodec* decoder_;
    std::unique_ptr<Container> container_;
    ffmpeg::CodecContextPtr codec_;  // below the container, whose stream it was made from
    ffmpeg::PacketPtr packet_;
    PacketMark mark_;
    int64_t number_ = 0;
    bool is_held_ = false;  // the packet in hand is the next one
    bool seeks_ = true;     // packets were found by their times so far
};

}  // namespace qmio::read
