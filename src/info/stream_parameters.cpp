// Numbers about the streams of a file and the tracks that its sound is.
#include <limits>

#include "audio/sample_formats.h"
#include "core/handle/entry.h"
#include "core/handle/frame_numbers.h"
#include "info/keys.h"
#include "info/part_numbers.h"
#include "qmio.h"

namespace qmio::info {

namespace {

// ---- tracks ----

struct TrackKey {
    const char* name;
    int64_t (*value)(const MediaHandle& handle, const Track& track);
};

int64_t stream_index(const MediaHandle&, const Track& track) {
    return track.stream_index;
}
int64_t decoder(const MediaHandle& handle, const Track& track) {
    return is_writer(handle) ? 0 : address(track.coder);
}
int64_t block_size(const MediaHandle&, const Track& track) {
    return track.codec != nullptr ? track.codec->block_align : 0;
}
int64_t file_rate(const MediaHandle&, const Track& track) {
    return track.codec != nullptr ? track.codec->sample_rate : 0;
}
int64_t user_rate(const MediaHandle&, const Track& track) {
    return track.delivered.rate;
}
int64_t file_format(const MediaHandle&, const Track& track) {
    return track.codec != nullptr ? track.codec->sample_fmt : -1;
}
int64_t user_format(const MediaHandle&, const Track& track) {
    return track.delivered.format;
}
int64_t file_format_bits(const MediaHandle& handle, const Track& track) {
    return audio::code_of_sample_format(static_cast<int32_t>(file_format(handle, track)));
}
int64_t user_format_bits(const MediaHandle&, const Track& track) {
    return audio::code_of_sample_format(track.delivered.format);
}
int64_t file_channels(const MediaHandle&, const Track& track) {
    return track.codec != nullptr ? track.codec->ch_layout.nb_channels : 0;
}
int64_t user_channels(const MediaHandle&, const Track& track) {
    return track.delivered.channels;
}

int64_t audio_timestamp(const MediaHandle&, const Track& track) {
    return track.pts;
}

constexpr TrackKey kTrackKeys[] = {
    {"audio", stream_index},
    {"acodec", decoder},
    {"align", block_size},
    {"apts", audio_timestamp},
    {"sample_rate", file_rate},
    {"file_sample_rate", file_rate},
    {"audio_rate", user_rate},
    {"user_sample_rate", user_rate},
    {"sample_fmt_id", file_format},
    {"file_sample_format", file_format},
    {"audio_fmt_id", user_format},
    {"user_sample_format", user_format},
    {"sample_fmt", file_format_bits},
    {"file_sample_fmt", file_format_bits},
    {"audio_fmt", user_format_bits},
    {"user_sample_fmt", user_format_bits},
    {"channels", file_channels},
    {"file_channels", file_channels},
    {"audio_channels", user_channels},
    {"user_channels", user_channels},
};

// ---- streams ----

struct StreamKey {
    const char* name;
    int64_t (*value)(MediaHandle& handle, int argument);
};

int64_t video_timestamp(MediaHandle& handle, int) {
    if (is_writer(handle))
        return handle.video.want_frame;
    const AVFrame* picture = decoded_picture(handle);
    return picture != nullptr ? picture_timestamp(*picture, nullptr) : 0;
}

int64_t picture_letter(MediaHandle& handle, int) {
    const AVFrame* picture = decoded_picture(handle);
    return picture != nullptr ? av_get_picture_type_char(picture->pict_type) : '?';
}

int64_t gop(MediaHandle& handle, int) {
    return handle.video.gop;
}

int64_t set_gop(MediaHandle& handle, int value) {
    const int64_t before = handle.video.gop;
    handle.video.gop = value;
    return before;
}

int64_t picture_number(MediaHandle& handle, int) {
    const AVFrame* picture = decoded_picture(handle);
    const int64_t timestamp =
        picture != nullptr ? picture_timestamp(*picture, handle.reading.packet.get()) : AV_NOPTS_VALUE;
    if (timestamp == AV_NOPTS_VALUE || handle.video.stream == nullptr || handle.video.counted != nullptr)
        return handle.video.have_frame;
    return frame_number_at(handle.video, timestamp);
}

int64_t byte_position(MediaHandle& handle, int) {
    catch_up(handle);
    AVIOContext* io = handle.container.format_ctx != nullptr ? handle.container.format_ctx->pb : nullptr;
    // What a background reader reads is its own.
    return io != nullptr && handle.reader_queue == nullptr ? avio_seek(io, 0, SEEK_CUR) : -1;
}

int64_t packet_size(MediaHandle& handle, int) {
    return handle.reading.packet->size;
}

// 1000 x the ratio, cut to a whole number; 0 for a missing one.
int64_t per_mille(AVRational ratio) {
    return ratio.den != 0 ? int64_t{1000} * ratio.num / ratio.den : 0;
}

// Of pictures that are delivered with columns and rows exchanged.
AVRational turned(const MediaHandle& handle, AVRational ratio) {
    return handle.video.turn.transposes ? AVRational{ratio.den, ratio.num} : ratio;
}

int64_t pixel_aspect(MediaHandle& handle, int) {
    const AVCodecContext* const codec = decoding_context(handle);
    return codec != nullptr ? per_mille(turned(handle, codec->sample_aspect_ratio)) : 0;
}

int64_t stream_pixel_aspect(MediaHandle& handle, int) {
    const AVStream* const stream = handle.video.stream;
    return stream != nullptr ? per_mille(turned(handle, stream->sample_aspect_ratio)) : 0;
}

// The shape of the whole picture, where that of its pixels is known.
int64_t display_aspect(MediaHandle& handle, int) {
    const AVStream* stream = handle.video.stream;
    if (stream == nullptr || stream->sample_aspect_ratio.num < 1 || handle.video.height < 1)
        return 0;
    const AVRational pixel = turned(handle, stream->sample_aspect_ratio);
    AVRational shape = {0, 0};
    av_reduce(&shape.num, &shape.den, int64_t{handle.video.width} * pixel.num, int64_t{handle.video.height} * pixel.den,
              std::numeric_limits<int>::max());
    return per_mille(shape);
}

constexpr StreamKey kStreamKeys[] = {
    {"vpts", video_timestamp}, {"frame_type", picture_letter}, {"gop", gop},
    {"set_gop", set_gop},      {"frame_num", picture_number},  {"frame_pos", byte_position},
    {"pkt_size", packet_size}, {"par", pixel_aspect},          {"sar", stream_pixel_aspect},
    {"dar", display_aspect},
};

int64_t stream_param(MediaHandle& handle, const char* key, int track) {
    if (const TrackKey* known = find_key(kTrackKeys, key); known != nullptr) {
        const Track* const asked = handle.tracks.find(track);
        return asked != nullptr ? known->value(handle, *asked) : 0;
    }
    if (const StreamKey* known = find_key(kStreamKeys, key); known != nullptr)
        return known->value(handle, track);
    if (const PartKey* known = find_part_key(key); known != nullptr)
        return part_number(handle, *known, track);
    const FileKey* known = find_file_key(key);
    return known != nullptr && known->of_streams ? known->value(handle) : kUnknownKey;
}

}  // namespace

std::vector<std::string_view> track_keys() {
    return names_in(kTrackKeys);
}

std::vector<std::string_view> stream_keys() {
    return names_in(kStreamKeys);
}

}  // namespace qmio::info

using namespace qmio;

int64_t qmio_get_stream_param(MediaHandle* h, const char* key, int track) {
    return with_handle_as_it_stands<int64_t>(h, info::kUnknownKey, info::kUnknownKey, [=](MediaHandle& handle) {
        return info::stream_param(handle, key, track);
    });
}
