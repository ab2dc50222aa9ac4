// The times of streams and packets, and the time code of a frame.
#include <initializer_list>

#include "core/handle/entry.h"
#include "core/handle/frame_index.h"
#include "core/handle/frame_numbers.h"
#include "info/keys.h"
#include "qmio.h"

namespace qmio::info {

namespace {

bool is_valid(AVRational ratio) {
    return ratio.num >= 1 && ratio.den >= 1;
}

// The first one that is valid; the last one otherwise.
AVRational first_valid(std::initializer_list<AVRational> ratios) {
    AVRational last{0, 0};
    for (const AVRational ratio : ratios) {
        last = ratio;
        if (is_valid(ratio))
            break;
    }
    return last;
}

void set_rate(qmio_time_param& record, AVRational rate) {
    record.frame_rate_num = rate.num;
    record.frame_rate_den = rate.den;
}

void set_time_base(qmio_time_param& record, AVRational base) {
    record.time_base_num = base.num;
    record.time_base_den = base.den;
}

void fill_stream(const MediaHandle& handle, const AVStream& stream, qmio_time_param& record) {
    record.start = start_or_zero(stream);
    record.duration = stream.duration;
    set_time_base(record, stream.time_base);
    record.container_start = handle.container.format_ctx->start_time;
    record.container_duration = handle.container.format_ctx->duration;
}

void clear(qmio_time_param* record) {
    if (record != nullptr)
        *record = {};
}

// The record, cleared, and the stream that a key is about; false when either is missing.
bool begin(qmio_time_param* record, const MediaHandle& handle, const AVStream* stream) {
    clear(record);
    return record != nullptr && stream != nullptr && handle.container.format_ctx != nullptr;
}

int64_t frames_in(const MediaHandle& handle, const AVStream& stream) {
    if (handle.video.counted != nullptr)
        return handle.video.counted->count();
    if (!is_valid(stream.avg_frame_rate))
        return 1;
    return stream.nb_frames >= 1 ? stream.nb_frames : handle.video.frame_count;
}

AVRational codec_time_base(const MediaHandle& handle) {
    return handle.video.codec != nullptr ? handle.video.codec->time_base : AVRational{0, 0};
}

int get_video(MediaHandle& handle, qmio_time_param* record) {
    AVStream* const stream = handle.video.stream;
    if (!begin(record, handle, stream))
        return 0;
    fill_stream(handle, *stream, *record);
    set_rate(*record, first_valid({guessed_frame_rate(handle.container, *stream), stream->avg_frame_rate,
                                   stream->r_frame_rate, AVRational{25, 1}}));
    set_time_base(*record, first_valid({stream->time_base, codec_time_base(handle), AVRational{1, 25}}));
    record->frame_count = frames_in(handle, *stream);
    return 1;
}

int get_audio(MediaHandle& handle, qmio_time_param* record) {
    const AVStream* const stream = handle.tracks.first().stream;
    if (!begin(record, handle, stream))
        return 0;
    fill_stream(handle, *stream, *record);
    return 1;
}

int get_packet(MediaHandle& handle, qmio_time_param* record) {
    catch_up(handle);
    AVStream* const stream = stream_of_packet(handle.container, *handle.reading.packet);
    if (!begin(record, handle, stream))
        return 0;
    const AVPacket& packet = *handle.reading.packet;
    record->pts = packet.pts;
    record->dts = packet.dts;
    record->duration = packet.duration;
    record->start = start_or_zero(*stream);
    set_time_base(*record, stream->time_base);
    // In another order than for the video stream, and without a rate to end with: hosts see 0/0 for sound.
    set_rate(*record, first_valid({guessed_frame_rate(handle.container, *stream), stream->r_frame_rate,
                                   stream->avg_frame_rate}));
    return 1;
}

int get_index_length(MediaHandle& handle, qmio_time_param* record) {
    clear(record);
    return static_cast<int>(frame_index::frame_total(handle.container.index_mapping.get()));
}

int get_key_flag(MediaHandle& handle, qmio_time_param* record) {
    clear(record);
    return (handle.reading.packet->flags & AV_PKT_FLAG_KEY) != 0 ? 1 : 0;
}

// 0, though the record is filled: 1 is the answer for a stream's times.
int get_seek_position(MediaHandle& handle, qmio_time_param* record) {
    clear(record);
    if (record != nullptr)
        record->start = handle.reading.seek_position;
    return 0;
}

// ---- what the setter calls setting ----

int copy_video(MediaHandle& handle, qmio_time_param* record) {
    AVStream* const stream = handle.video.stream;
    if (!begin(record, handle, stream))
        return 0;
    fill_stream(handle, *stream, *record);
    set_rate(*record, guessed_frame_rate(handle.container, *stream));
    record->frame_count = stream->nb_frames;
    return 1;
}

int set_packet(MediaHandle& handle, qmio_time_param* record) {
    catch_up(handle);
    if (record == nullptr)
        return 0;
    handle.reading.packet->pts = record->pts;
    handle.reading.packet->dts = record->dts;
    return 1;
}

struct TimeKey {
    const char* name;
    int (*run)(MediaHandle& handle, qmio_time_param* record);
};

constexpr TimeKey kGetters[] = {
    {"dur", get_index_length}, {"video", get_video},  {"audio", get_audio},
    {"packet", get_packet},    {"key", get_key_flag}, {"seek", get_seek_position},
};
constexpr TimeKey kSetters[] = {{"video", copy_video}, {"audio", get_audio}, {"packet", set_packet}};

template <std::size_t count>
int run(const TimeKey (&table)[count], MediaHandle* h, const char* key, qmio_time_param* record) {
    if (h == nullptr)
        clear(record);
    return with_handle_as_it_stands(h, 0, 0, [&](MediaHandle& handle) {
        if (const TimeKey* known = find_key(table, key); known != nullptr)
            return known->run(handle, record);
        clear(record);
        return 0;
    });
}

// Hours, minutes, seconds and frames, a byte each, from the highest to the lowest.
int32_t timecode(int64_t frame, AVRational rate) {
    const int64_t second = frame * rate.den / rate.num;
    const int64_t minute = second / 60;
    const int64_t hour = minute / 60;
    const int64_t rest = frame - second * rate.num / rate.den;
    const auto byte = [](int64_t value, int shift) { return static_cast<uint32_t>(value & 0xFF) << shift; };
    return static_cast<int32_t>(byte(hour, 24) | byte(minute - 60 * hour, 16) | byte(second - 60 * minute, 8) |
                                byte(rest, 0));
}

int32_t timecode_of(const MediaHandle& handle, int frame) {
    constexpr int32_t kNone = -1;
    AVStream* const stream = handle.video.stream;
    if (stream == nullptr)
        return kNone;
    const AVRational rate = guessed_frame_rate(handle.container, *stream);
    return is_valid(rate) ? timecode(frame, rate) : kNone;
}

}  // namespace

std::vector<std::string_view> time_keys() {
    return names_in(kGetters);
}

}  // namespace qmio::info

using namespace qmio;

int qmio_get_time_param(MediaHandle* h, const char* key, qmio_time_param* rec) {
    return info::run(info::kGetters, h, key, rec);
}

int qmio_set_time_param(MediaHandle* h, const char* key, qmio_time_param* rec) {
    return info::run(info::kSetters, h, key, rec);
}

int qmio_get_smpte(MediaHandle* h, int frame) {
    return with_handle_as_it_stands(h, -1, -1,
                                    [frame](MediaHandle& handle) { return info::timecode_of(handle, frame); });
}
