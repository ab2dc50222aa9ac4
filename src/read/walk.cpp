#include "read/walk.h"

#include "read/decode.h"
#include "read/packets.h"

namespace qmio::read {

namespace {

Step decoded(const Source& source, int result) {
    if (result < 0)
        return {Step::Kind::broken_packet, result};
    return {Step::Kind::picture, result, source.reading.numbered};
}

Step drain(Source& source, imio_picture& picture) {
    const int result = decode_packet(source, &picture, nullptr);
    return result > 0 ? decoded(source, result) : Step{Step::Kind::end, result};
}

// A packet came after a drain, whose codec lost its references with that.
bool has_gone_on(const Source& source) {
    return source.reading.decoder.is_drained() && !can_drain_after_packet(source.video) &&
           !is_read_in_background(source);
}

}  // namespace

Step next_picture(Source& source, imio_picture& picture, Way& way) {
    for (;;) {
        if (const int result = deliver_kept(source, &picture); result != QMIO_NO_PICTURE)
            return decoded(source, result);
        if (!next_video_packet(source))
            return way.drains_at_end() ? drain(source, picture) : Step{Step::Kind::end};
        AVPacket& packet = *video_packet(source);
        if (has_gone_on(source))
            return {Step::Kind::gone_on};
        const Way::Packet verdict = way.judge(packet);
        const int result = verdict == Way::Packet::decode ? decode_packet(source, &picture, &packet) : QMIO_NO_PICTURE;
        const Step step = decoded(source, result);
        release_frame(source);
        if (verdict == Way::Packet::stop)
            return {Step::Kind::stopped};
        if (result != QMIO_NO_PICTURE)
            return step;
    }
}

}  // namespace qmio::read
