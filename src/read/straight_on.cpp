#include "read/straight_on.h"

#include "ffmpeg/frame_flags.h"
#include "read/choose.h"
#include "read/decode.h"
#include "read/jog.h"
#include "read/packets.h"
#include "read/position.h"

namespace qmio::read {

namespace {

// Every packet is decoded.
class StraightOn : public Way {
  public:
    explicit StraightOn(const Video& video) : video_(video) {}

    Packet judge(const AVPacket&) override { return Packet::decode; }

    // A source with one picture whose decoder still holds it when its only packets are read. Others are drained by
    // the host.
    bool drains_at_end() const override { return video_.frame_count <= 1 && video_.have_frame == kNoFrame; }

  private:
    const Video& video_;
};

// While a file grows, input goes on after an end at which the decoder gave all that it held. The next picture is found
// as a sought one is.
int read_on_after_drain(Source& source, imio_picture& picture) {
    const int32_t next = source.video.want_frame;
    if (position_before(source, next, false)) {
        source.video.want_frame = next;
        set_target(source, next, Landing::key_packet);
        return read_target(source, picture);
    }
    // The container stays where it is, and so does the packet in hand.
    source.reading.decoder.flush();
    const int result = decode_packet(source, &picture, source.reading.packet.get());
    release_frame(source);
    return result != QMIO_NO_PICTURE ? result : read_from_here(source, picture);
}

void note(Source& source, const Step& step) {
    Jog* const jog = source.reading.jog.get();
    if (jog == nullptr)
        return;
    if (step.kind != Step::Kind::picture)
        return jog->lose_track();
    const bool concealed = source.reading.concealment.take();
    const bool failed = source.reading.decoder.take_failure();
    jog->note_straight(source, step.has_time && !concealed && !failed && !ffmpeg::is_damaged(*source.reading.pFrame));
}

}  // namespace

Step step_straight_on(Source& source, imio_picture& picture) {
    StraightOn way(source.video);
    const Step step = next_picture(source, picture, way);
    note(source, step);
    return step;
}

int read_from_here(Source& source, imio_picture& picture) {
    if (source.reading.pending != nullptr) {
        if (land(source))
            return read_target(source, picture);
        forget_target(source);
    }
    const Step step = step_straight_on(source, picture);
    return step.kind == Step::Kind::gone_on ? read_on_after_drain(source, picture) : step.result;
}

}  // namespace qmio::read
