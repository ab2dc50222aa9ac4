#include "read/walk.h"

#include "core/handle/frame_numbers.h"
#include "read/decode.h"
#include "read/packets.h"

namespace qmio::read {

namespace {

// `packet` is null for a picture that was waiting inside the decoder.
Step decoded(const Source& source, int result, const AVPacket* packet) {
    if (result < 0)
        return {Step::Kind::broken_packet, result};
    return {Step::Kind::picture, result, picture_timestamp(*source.reading.pFrame, packet) != AV_NOPTS_VALUE};
}

Step drain(Source& source, imio_picture& picture) {
    const int result = decode_packet(source, &picture, nullptr);
    return result > 0 ? decoded(source, result, nullptr) : Step{Step::Kind::end, result};
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
            return decoded(source, result, nullptr);
        if (!next_video_packet(source))
            return way.drains_at_end() ? drain(source, picture) : Step{Step::Kind::end};
        AVPacket& packet = *video_packet(source);
        if (has_gone_on(source))
            return {Step::Kind::gone_on};
        const Way::Packet verdict = way.judge(packet);
        const int result = verdict == Way::Packet::decode ? decode_packet(source, &picture, &packet) : QMIO_NO_PICTURE;
        const Step step = decoded(source, result, &packet);
        release_frame(source);
        if (verdict == Way::Packet::stop)
            return {Step::Kind::stopped};
        if (result != QMIO_NO_PICTURE)
            return step;
    }
}

}  // namespace qmio::read
