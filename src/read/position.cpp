#include "read/position.h"

#include <algorithm>
#include <optional>

#include "core/handle/frame_index.h"
#include "core/handle/frame_numbers.h"
#include "ffmpeg/byte_seek.h"

namespace qmio::read {

namespace {

constexpr int kAnyByte = AVSEEK_FLAG_BYTE | AVSEEK_FLAG_ANY;

bool can_seek_bytes(const Container& container) {
    const AVIOContext* io = container.format_ctx != nullptr ? container.format_ctx->pb : nullptr;
    return io != nullptr && (io->seekable & AVIO_SEEKABLE_NORMAL) != 0;
}

using ffmpeg::AfterByteSeek;

AfterByteSeek after_byte_seek(const Container& container) {
    return container.format_ctx != nullptr ? ffmpeg::after_byte_seek(*container.format_ctx) : AfterByteSeek::refuses;
}

bool reach_first_byte(Source& source) {
    return can_seek_bytes(source.container) && position_by_time(source, 0, kAnyByte) >= 0;
}

// Long before anything: some containers then give their first packet, others refuse, so forward from there comes next,
// and the first byte last.
bool reach_start(Source& source, const AVStream& stream) {
    const int64_t long_before = av_sat_sub64(
        start_or_zero(stream), av_rescale_q(int64_t{86400} * AV_TIME_BASE, av_get_time_base_q(), stream.time_base));
    if (position_by_time(source, long_before, AVSEEK_FLAG_BACKWARD) < 0 && position_by_time(source, long_before, 0) < 0)
        return reach_first_byte(source);
    // Demuxers that look for a time among packets may find the first one that pleases them behind the start. What comes
    // first in the container tells its time in full.
    if (after_byte_seek(source.container) == AfterByteSeek::loses_time)
        reach_first_byte(source);
    return true;
}

// Encoders that look ahead begin before time 0, and the index has no entries for that: its frame 0 need not be the first
// packet of the file.
int32_t first_indexed_number(const Source& source) {
    const AVStream& stream = *source.video.stream;
    const int64_t position = frame_index::position(*source.container.index_mapping, 0);
    const std::optional<int64_t> timestamp = ffmpeg::early_timestamp_at(stream, position);
    return timestamp ? frame_number_at(source.video, *timestamp) : 0;
}

// Where a demuxer does not know any packet as a key packet it is the first byte that is gone to, and not a time.
void note_start(Source& source) {
    if (source.video.stream == nullptr || after_byte_seek(source.container) != AfterByteSeek::counts_on)
        return;
    if (const std::optional<int64_t> timestamp = ffmpeg::first_timestamp(*source.video.stream))
        source.reading.landing = frame_number_at(source.video, *timestamp);
}

using Counted = CountedPictures::Packet;

const Counted& counted_packet(const CountedPictures& counted, int32_t frame, int flags) {
    return (flags & AVSEEK_FLAG_ANY) != 0 ? counted.picture(frame) : counted.key_before(frame);
}

bool has_time(const Counted& packet) {
    return packet.pts != AV_NOPTS_VALUE || packet.dts != AV_NOPTS_VALUE;
}

bool lacks_times(const Video& video) {
    return video.counted != nullptr && !has_time(video.counted->picture(0));
}

bool reach_beginning(Source& source) {
    if (source.video.stream == nullptr)
        return false;
    // Where nothing tells a time, a demuxer that looks for one reads to the end.
    return (lacks_times(source.video) && reach_first_byte(source)) || reach_start(source, *source.video.stream);
}

}  // namespace

void flush_decoders(Source& source) {
    flush_video_decoder(source.video, source.reading);
    flush_audio_decoders(source.tracks, source.sound);
    source.video.have_frame = kNoFrame;
}

int64_t indexed_frames(const Container& container) {
    return frame_index::frame_total(container.index_mapping.get());
}

int32_t known_frames(const Source& source) {
    // An index holds fewer entries than an int32_t counts.
    return std::max(source.video.frame_count, static_cast<int32_t>(indexed_frames(source.container)));
}

bool tells_keys(const Container& container) {
    return indexed_frames(container) == 0 || after_byte_seek(container) != AfterByteSeek::counts_on;
}

bool lands_inside_frames(const Container& container) {
    return container.format_ctx != nullptr && ffmpeg::lands_inside_frames(*container.format_ctx);
}

bool can_land_by_index(const Container& container) {
    const AfterByteSeek knowledge = after_byte_seek(container);
    return knowledge == AfterByteSeek::knows_time || knowledge == AfterByteSeek::counts_on;
}

void note_landing(Source& source, int32_t frame) {
    if (after_byte_seek(source.container) == AfterByteSeek::counts_on)
        source.reading.landing = frame + first_indexed_number(source);
}

void number_from_landing(Video& video, Reading& reading, const AVPacket& packet) {
    if (!reading.landing || packet.dts == AV_NOPTS_VALUE)
        return;
    video.number_shift += *reading.landing - frame_number_at(video, packet.dts);
    reading.landing.reset();
}

int position_by_index(Source& source, int32_t frame) {
    const int64_t position = frame_index::position(*source.container.index_mapping, frame);
    if (is_demuxing(source.container) && source.video.stream != nullptr)
        ffmpeg::prepare_byte_seek(*source.container.format_ctx, *source.video.stream, position);
    return seek_container(source.container, source.video.stream_index, position, kAnyByte);
}

int position_by_time(Source& source, int64_t timestamp, int flags) {
    return seek_container(source.container, source.video.stream_index, timestamp, flags);
}

int64_t time_of_frame(const Source& source, AVStream& stream, int32_t frame) {
    const CountedPictures* const counted = source.video.counted.get();
    const int64_t pts = counted != nullptr ? counted->picture(frame).pts : AV_NOPTS_VALUE;
    return pts != AV_NOPTS_VALUE ? pts : frame_to_timestamp(source.container, stream, frame);
}

int64_t time_to_seek(const Source& source, AVStream& stream, int32_t frame, int flags) {
    const CountedPictures* const counted = source.video.counted.get();
    if (counted == nullptr)
        return frame_to_timestamp(source.container, stream, frame);
    const Counted& packet = counted_packet(*counted, frame, flags);
    const bool by_pts = packet.dts == AV_NOPTS_VALUE ||
                        (packet.pts != AV_NOPTS_VALUE && ffmpeg::seeks_by_pts(*source.container.format_ctx));
    return by_pts ? packet.pts : packet.dts;
}

int position_at_frame(Source& source, AVStream& stream, int32_t frame, int flags) {
    const CountedPictures* const counted = source.video.counted.get();
    if (counted == nullptr)
        return position_by_time(source, time_to_seek(source, stream, frame, flags), flags);
    const Counted& packet = counted_packet(*counted, frame, flags);
    const int result = has_time(packet) ? position_by_time(source, time_to_seek(source, stream, frame, flags), flags)
                                        : position_by_time(source, packet.position, kAnyByte);
    // Counted sources are those that go back to their start, from where every picture can be reached.
    return result >= 0 || !reach_beginning(source) ? result : 0;
}

bool position_before(Source& source, int32_t frame, bool by_time) {
    if (source.video.stream == nullptr)
        return false;
    const bool indexed = !by_time && frame < indexed_frames(source.container) && can_land_by_index(source.container);
    const int result = indexed ? position_by_index(source, frame)
                               : position_at_frame(source, *source.video.stream, frame, AVSEEK_FLAG_BACKWARD);
    if (result < 0)
        return false;
    flush_decoders(source);
    if (indexed)
        note_landing(source, frame);
    return true;
}

bool position_at_start(Source& source) {
    if (!reach_beginning(source))
        return false;
    flush_decoders(source);
    note_start(source);
    source.video.want_frame = 0;
    return true;
}

}  // namespace qmio::read
