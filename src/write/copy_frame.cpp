// One packet of a source into a file, as it is.
#include <mutex>

#include "core/process/why.h"
#include "qmio.h"
#include "write/packet_out.h"
#include "write/remux.h"

namespace qmio::write {

namespace {

// Where a packet goes: a stream of the file with its clock, and what the caller is told.
struct Destination {
    AVStream* stream = nullptr;
    ffmpeg::CopyClock* clock = nullptr;
    int result = QMIO_PACKET_OTHER;
};

// A source that gave the file one of its streams gives it packets of that alone; files that come later, one behind the
// other, give both.
bool may_give(const MediaHandle& source, uint64_t giver, uint64_t other_giver) {
    return source.number == giver || source.number != other_giver;
}

Destination destination_of(MediaHandle& handle, const MediaHandle& source, int stream) {
    Remuxing& remuxing = handle.remuxing;
    const uint32_t mode = handle.writing.mode;
    if ((mode & mode::copies_video) != 0 && stream == source.video.stream_index &&
        may_give(source, remuxing.video_source, remuxing.sound_source))
        return {handle.video.stream, &remuxing.video, QMIO_PACKET_VIDEO};
    if ((mode & mode::copies_sound) != 0 && stream == source.tracks.first().stream_index &&
        may_give(source, remuxing.sound_source, remuxing.video_source))
        return {handle.tracks.first().stream, &remuxing.sound, QMIO_PACKET_AUDIO};
    return {};
}

bool has_bytes(const AVPacket& packet) {
    return packet.size > 0 || packet.side_data_elems > 0;
}

// The source's packet in a record of the file's own, with the times that it has there.
int take_packet(MediaHandle& handle, MediaHandle& source, Destination& destination) {
    const std::lock_guard lock(source.call_lock);
    catch_up(source);
    const AVPacket& read = *source.reading.packet;
    const AVStream* const from = stream_of_packet(source.container, read);
    if (is_writer(source) || from == nullptr || !has_bytes(read))
        return 0;
    destination = destination_of(handle, source, read.stream_index);
    if (destination.clock == nullptr)
        return 0;
    if (destination.stream == nullptr)
        return refuse_to_write();
    AVPacket& packet = *handle.writing.packet;
    av_packet_unref(&packet);
    if (const int result = av_packet_ref(&packet, &read); result < 0) {
        why::failed(result);
        return result;
    }
    destination.clock->stamp(packet, {*from, *destination.stream, *handle.container.format_ctx->oformat},
                             handle.remuxing.shift);
    packet.stream_index = destination.stream->index;
    return 0;
}

}  // namespace

int copy_frame(MediaHandle& handle, MediaHandle& source) {
    // The source is free again before the file is written to, which may take long.
    if (handle.writing.is_finished)
        return refuse_to_write();
    Destination destination;
    if (const int result = take_packet(handle, source, destination); result < 0 || destination.clock == nullptr)
        return result;
    const int result = write_packet(handle.container, handle.writing, *handle.writing.packet);
    av_packet_unref(handle.writing.packet.get());
    if (result < 0)
        return result;
    handle.video.want_frame += destination.result == QMIO_PACKET_VIDEO ? 1 : 0;
    return destination.result;
}

}  // namespace qmio::write
