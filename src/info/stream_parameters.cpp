// Numbers about the streams of a file and the tracks that its sound is.
#include <limits>

#include "audio/sample_formats.h"
#include "core/entry.h"
#include "core/frame_numbers.h"
#include "info/keys.h"
#include "qmio.h"

namespace qmio::info {

namespace {

// ---- tracks ----

struct TrackKey {
    const char* name;
    int64_t (*value)(const MediaHandle& handle, std::size_t track);
};

int64_t file_rate(const MediaHandle& h, std::size_t track) {
    const AVCodecContext* codec = h.audio.track_codec[track];
    return codec != nullptr ? codec->sample_rate : 0;
}
int64_t user_rate(const MediaHandle& h, std::size_t track) {
    return h.audio.track_rate[track];
}
int64_t file_format(const MediaHandle& h, std::size_t track) {
    const AVCodecContext* codec = h.audio.track_codec[track];
    return codec != nullptr ? codec->sample_fmt : -1;
}
int64_t user_format(const MediaHandle& h, std::size_t track) {
    return h.audio.track_fmt[track];
}
int64_t file_format_bits(const MediaHandle& h, std::size_t track) {
    return audio::code_of_sample_format(static_cast<int32_t>(file_format(h, track)));
}
int64_t user_format_bits(const MediaHandle& h, std::size_t track) {
    return audio::code_of_sample_format(h.audio.track_fmt[track]);
}
int64_t file_channels(const MediaHandle& h, std::size_t track) {
    const AVCodecContext* codec = h.audio.track_codec[track];
    return codec != nullptr ? codec->ch_layout.nb_channels : 0;
}
int64_t user_channels(const MediaHandle& h, std::size_t track) {
    return h.audio.track_chans[track];
}

int64_t audio_timestamp(const MediaHandle& handle, std::size_t track) {
    if (is_writer(handle))
        return handle.writer.audio_pts[track];
    const AVFrame* frame = handle.audio.audio_frame.get();
    return frame != nullptr && frame->data[0] != nullptr ? frame->pts : 0;
}

constexpr TrackKey kTrackKeys[] = {
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

bool has_track(const MediaHandle& handle, int track) {
    return track >= 0 && track < kMaxTracks && track < handle.audio.track_count;
}

// ---- streams ----

struct StreamKey {
    const char* name;
    int64_t (*value)(MediaHandle& handle, int argument);
};

int64_t video_timestamp(MediaHandle& handle, int) {
    if (is_writer(handle))
        return handle.reader.want_frame;
    const AVFrame* picture = decoded_picture(handle);
    return picture != nullptr ? picture_timestamp(*picture, nullptr) : 0;
}

int64_t picture_letter(MediaHandle& handle, int) {
    const AVFrame* picture = decoded_picture(handle);
    return picture != nullptr ? av_get_picture_type_char(picture->pict_type) : '?';
}

int64_t gop(MediaHandle& handle, int) {
    return handle.reader.gop;
}

int64_t set_gop(MediaHandle& handle, int value) {
    const int64_t before = handle.reader.gop;
    handle.reader.gop = value;
    return before;
}

int64_t picture_number(MediaHandle& handle, int) {
    const AVFrame* picture = decoded_picture(handle);
    const int64_t timestamp = picture != nullptr ? picture_timestamp(*picture, nullptr) : AV_NOPTS_VALUE;
    if (timestamp == AV_NOPTS_VALUE || handle.reader.video_st == nullptr)
        return handle.reader.have_frame;
    return frame_number_at(handle, timestamp);
}

int64_t byte_position(MediaHandle& handle, int) {
    AVIOContext* io = handle.format_ctx != nullptr ? handle.format_ctx->pb : nullptr;
    return io != nullptr ? avio_seek(io, 0, SEEK_CUR) : -1;
}

int64_t packet_size(MediaHandle& handle, int) {
    return handle.reader.packet->size;
}

// 1000 x the ratio, cut to a whole number; 0 for a missing one.
int64_t per_mille(AVRational ratio) {
    return ratio.den != 0 ? int64_t{1000} * ratio.num / ratio.den : 0;
}

int64_t pixel_aspect(MediaHandle& handle, int) {
    return handle.reader.pCodecCtx != nullptr ? per_mille(handle.reader.pCodecCtx->sample_aspect_ratio) : 0;
}

int64_t stream_pixel_aspect(MediaHandle& handle, int) {
    return handle.reader.video_st != nullptr ? per_mille(handle.reader.video_st->sample_aspect_ratio) : 0;
}

// The shape of the whole picture, where that of its pixels is known.
int64_t display_aspect(MediaHandle& handle, int) {
    const AVStream* stream = handle.reader.video_st;
    if (stream == nullptr || stream->sample_aspect_ratio.num < 1 || handle.reader.height < 1)
        return 0;
    AVRational shape = {0, 0};
    av_reduce(&shape.num, &shape.den, int64_t{handle.reader.width} * stream->sample_aspect_ratio.num,
              int64_t{handle.reader.height} * stream->sample_aspect_ratio.den, std::numeric_limits<int>::max());
    return per_mille(shape);
}

constexpr StreamKey kStreamKeys[] = {
    {"vpts", video_timestamp}, {"frame_type", picture_letter}, {"gop", gop},
    {"set_gop", set_gop},      {"frame_num", picture_number},  {"frame_pos", byte_position},
    {"pkt_size", packet_size}, {"par", pixel_aspect},          {"sar", stream_pixel_aspect},
    {"dar", display_aspect},
};

int64_t stream_param(MediaHandle& handle, const char* key, int track) {
    if (const TrackKey* known = find_key(kTrackKeys, key); known != nullptr)
        return has_track(handle, track) ? known->value(handle, static_cast<std::size_t>(track)) : 0;
    if (const StreamKey* known = find_key(kStreamKeys, key); known != nullptr)
        return known->value(handle, track);
    const FileKey* known = find_file_key(key);
    return known != nullptr && known->of_streams ? known->value(handle) : kUnknownKey;
}

}  // namespace
}  // namespace qmio::info

using namespace qmio;

int64_t qmio_get_stream_param(MediaHandle* h, const char* key, int track) {
    return with_handle<int64_t>(h, info::kUnknownKey, info::kUnknownKey,
                                [=](MediaHandle& handle) { return info::stream_param(handle, key, track); });
}
