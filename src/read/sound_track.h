// The sound of one track by the number of its samples, as decoding the whole of it from the start gives it.
//
// Times in containers are estimates more often than not, decoders start wrong in the middle, and some never come right
// (noise that goes on from packet to packet). So samples are counted by decoding: once from the start, in groups of packets,
// and what each group gave is kept as a hash. To hear a group again the decoder starts a group earlier; where what comes is
// not what came before, it starts from the beginning.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/handle/track.h"
#include "read/sound_cursor.h"

namespace qmio::read {

class SoundTrack {
  public:
    SoundTrack(const std::shared_ptr<const Request>& request, const Container& owner, const Track& track);

    // Asked before each reading. False when the source cannot be opened a second time.
    bool can_be_read();

    // The form that all of it has, that of its first frame; what differs on the way is converted to it, but for its rate.
    const ffmpeg::SoundForm& form() const { return form_; }

    // A frame, and where in it the sample lies.
    struct Place {
        const AVFrame* frame = nullptr;  // null: behind the end
        int sample = 0;
    };
    // Valid until the next call.
    Place find(int64_t position);

    // True when the source went away on the way, or is another now.
    bool has_failed() const { return failed_; }

  private:
    // Packets behind one another and what they were decoded to.
    struct Group {
        int64_t first_packet = 0;
        int64_t first_sample = 0;
        int packets = 0;
        bool is_last = false;  // of the track: with what the decoder held
        int64_t samples = 0;
        PacketMark mark;  // of the first packet
        uint64_t sound = 0;
    };
    struct Reader {
        explicit Reader(SoundCursor cursor) : at(std::move(cursor)) {}
        SoundCursor at;
        std::size_t next = kNowhere;  // the group that it decodes next
    };
    static constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

    bool is_whole() const { return !groups_.empty() && groups_.back().is_last; }
    int64_t known_samples() const;
    bool holds(int64_t position) const;
    std::size_t group_of(int64_t position) const;

    bool jumps() const;
    bool learn();
    bool recall(std::size_t group);
    bool recall_by_jump(std::size_t group);
    bool recall_from(std::size_t group);
    bool begin_anew(Reader& reader);
    void take_packets(Reader& reader, Group& group, int most, bool is_known);
    void finish(Group& group);
    void adapt(ffmpeg::FramePtr& frame);

    ffmpeg::SoundForm form_;
    Reader first_;  // decodes what nobody has heard yet, from the start on and never elsewhere
    Reader again_;  // goes back
    std::vector<Group> groups_;
    Frames frames_;  // of the group decoded last
    int64_t first_sample_ = 0;
    int64_t samples_ = 0;
    int failed_jumps_ = 0;  // one behind the other
    bool failed_ = false;
};

}  // namespace qmio::read
