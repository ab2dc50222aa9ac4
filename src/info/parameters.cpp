// Numbers about an open handle, asked for by key.
#include <cstring>

#include "core/entry.h"
#include "ffmpeg/ffmpeg.h"
#include "qmio.h"

using namespace qmio;

namespace {

constexpr int64_t kUnknownKey = -1;

using Query = int64_t (*)(const MediaHandle& handle);

struct Key {
    const char* name;
    Query query;
};

const AVCodecContext* first_audio_codec(const MediaHandle& handle) {
    return handle.audio.track_codec[0];
}

int64_t file_channels(const MediaHandle& handle) {
    int64_t channels = 0;
    for (const AVCodecContext* codec : handle.audio.track_codec)
        channels += codec != nullptr ? codec->ch_layout.nb_channels : 0;
    return channels;
}

constexpr Key kFileKeys[] = {
    {"check", [](const MediaHandle& h) -> int64_t { return h.format_ctx != nullptr ? 0 : -1; }},
    {"width", [](const MediaHandle& h) -> int64_t { return h.reader.width; }},
    {"height", [](const MediaHandle& h) -> int64_t { return h.reader.height; }},
    {"frames", [](const MediaHandle& h) -> int64_t { return h.reader.frame_count; }},
    {"nvideo", [](const MediaHandle& h) -> int64_t { return h.reader.video_stream_count; }},
    {"naudio", [](const MediaHandle& h) -> int64_t { return h.audio.track_count; }},
    {"video", [](const MediaHandle& h) -> int64_t { return h.reader.video_stream_index; }},
    {"audio", [](const MediaHandle& h) -> int64_t { return h.audio.track_stream[0]; }},
    {"dts_frame", [](const MediaHandle& h) -> int64_t { return h.reader.have_frame; }},
    {"channels", file_channels},
    {"sample_rate",
     [](const MediaHandle& h) -> int64_t {
         const AVCodecContext* codec = first_audio_codec(h);
         return codec != nullptr ? codec->sample_rate : 0;
     }},
    {"vb",
     [](const MediaHandle& h) -> int64_t { return h.reader.pCodecCtx != nullptr ? h.reader.pCodecCtx->bit_rate : 0; }},
    {"ab",
     [](const MediaHandle& h) -> int64_t {
         const AVCodecContext* codec = first_audio_codec(h);
         return codec != nullptr ? codec->bit_rate : 0;
     }},
};

int64_t file_param(const MediaHandle& handle, const char* key) {
    for (const Key& known : kFileKeys) {
        if (av_strcasecmp(known.name, key) == 0)
            return known.query(handle);
    }
    return kUnknownKey;
}

// 1000 x the ratio, cut to a whole number; 0 for a missing one.
int64_t per_mille(AVRational ratio) {
    return ratio.den != 0 ? int64_t{1000} * ratio.num / ratio.den : 0;
}

using TrackQuery = int64_t (*)(const MediaHandle& handle, std::size_t track);

struct TrackKey {
    const char* name;
    TrackQuery query;
};

constexpr TrackKey kTrackKeys[] = {
    {"sample_rate",
     [](const MediaHandle& h, std::size_t track) -> int64_t {
         const AVCodecContext* codec = h.audio.track_codec[track];
         return codec != nullptr ? codec->sample_rate : 0;
     }},
    {"channels",
     [](const MediaHandle& h, std::size_t track) -> int64_t {
         const AVCodecContext* codec = h.audio.track_codec[track];
         return codec != nullptr ? codec->ch_layout.nb_channels : 0;
     }},
};

constexpr Key kStreamKeys[] = {
    {"par",
     [](const MediaHandle& h) -> int64_t {
         return h.reader.pCodecCtx != nullptr ? per_mille(h.reader.pCodecCtx->sample_aspect_ratio) : 0;
     }},
    {"sar",
     [](const MediaHandle& h) -> int64_t {
         return h.reader.video_st != nullptr ? per_mille(h.reader.video_st->sample_aspect_ratio) : 0;
     }},
};

int64_t stream_param(const MediaHandle& handle, const char* key, int track) {
    for (const TrackKey& known : kTrackKeys) {
        if (av_strcasecmp(known.name, key) != 0)
            continue;
        const bool exists = track >= 0 && track < kMaxTracks && track < handle.audio.track_count;
        return exists ? known.query(handle, static_cast<std::size_t>(track)) : 0;
    }
    for (const Key& known : kStreamKeys) {
        if (av_strcasecmp(known.name, key) == 0)
            return known.query(handle);
    }
    return file_param(handle, key);
}

}  // namespace

int64_t qmio_get_file_param(MediaHandle* h, const char* key) {
    if (key == nullptr)
        return kUnknownKey;
    return with_handle<int64_t>(h, -1, -1, [key](MediaHandle& handle) { return file_param(handle, key); });
}

int64_t qmio_get_stream_param(MediaHandle* h, const char* key, int track) {
    if (key == nullptr)
        return kUnknownKey;
    return with_handle<int64_t>(h, -1, -1, [=](MediaHandle& handle) { return stream_param(handle, key, track); });
}
