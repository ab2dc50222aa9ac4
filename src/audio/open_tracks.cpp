#include "audio/open_tracks.h"

#include <algorithm>
#include <limits>

#include "core/handle/codec_open.h"
#include "core/handle/frame_numbers.h"
#include "core/process/last_error.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "ffmpeg/codec_lookup.h"

namespace qmio::audio {

namespace {

constexpr const wchar_t* kTag = L"qmio_open_u8";

// 0 when neither the stream nor the container knows its length.
int32_t duration_ms(const AVFormatContext& container, const AVStream& stream) {
    int64_t duration = 0;
    if (stream.duration != AV_NOPTS_VALUE)
        duration = scale_time(stream.duration, stream.time_base, 1000);
    else if (container.duration != AV_NOPTS_VALUE)
        duration = container.duration / 1000;
    return static_cast<int32_t>(std::clamp<int64_t>(duration, 0, std::numeric_limits<int32_t>::max()));
}

bool find_track_decoder(const Container& container, Track& track, int number) {
    track.stream = container.format_ctx->streams[track.stream_index];
    track.codec = container.stream_codec[static_cast<std::size_t>(track.stream_index)].get();
    if (track.codec == nullptr)
        return false;
    if (track.codec->codec_id == AV_CODEC_ID_NONE) {
        trace(TraceSwitch::open, kTag, L"No codec found for audio stream %d (%d)", number, track.stream_index);
        set_last_error(AV_LOG_ERROR, L"No codec found for audio stream %d (%d)", number, track.stream_index);
        why::failed(AVERROR_DECODER_NOT_FOUND, "nothing tells the codec of track %d", number);
        return false;
    }
    track.coder = ffmpeg::find_decoder(track.codec->codec_id);
    if (track.coder == nullptr)
        why::failed(AVERROR_DECODER_NOT_FOUND, "there is no decoder of %s for track %d",
                    avcodec_get_name(track.codec->codec_id), number);
    return track.coder != nullptr;
}

bool prepare_frame(Sound& sound) {
    if (sound.audio_frame == nullptr)
        sound.audio_frame.reset(av_frame_alloc());
    return sound.audio_frame != nullptr;
}

bool open_track(const Container& container, Sound& sound, Track& track, int number) {
    if (!find_track_decoder(container, track, number))
        return false;
    if (const int result = open_codec(*track.codec, *track.coder, nullptr); result < 0) {
        why::failed(result, "decoder %s of track %d cannot be opened", track.coder->name, number);
        return false;
    }
    // Every track writes this one field; the last one's length is what remains.
    sound.audio_dur_ms = duration_ms(*container.format_ctx, *track.stream);
    track.file = track.delivered = ffmpeg::form_of(*track.codec);
    track.decoder.attach(track.codec);
    return prepare_frame(sound);
}

bool open_all(const Container& container, Sound& sound, Tracks& tracks) {
    int number = 0;
    for (Track& track : tracks)
        if (!open_track(container, sound, track, number++))
            return false;
    return true;
}

// The decoders opened so far stay open until the handle is closed; nothing is decoded by them any more.
void disable_sound(Tracks& tracks) {
    for (Track& track : tracks) {
        track.stream_index = -1;
        track.codec = nullptr;
        track.coder = nullptr;
    }
}

}  // namespace

void find_tracks(const Container& container, Tracks& tracks) {
    for (std::size_t index = 0; index < container.stream_codec.size() && !tracks.is_full(); ++index) {
        const AVCodecContext* codec = container.stream_codec[index].get();
        if (codec != nullptr && codec->codec_type == AVMEDIA_TYPE_AUDIO)
            tracks.add().stream_index = static_cast<int32_t>(index);
    }
}

bool open_tracks(const Container& container, Sound& sound, Tracks& tracks) {
    sound.map_report_pending = true;
    sound.fill_silence = true;
    trace(TraceSwitch::open, L"qmio_open_audio", L"AUDIO\n");
    trace(TraceSwitch::open, kTag, L"AUDIO, %d streams of %d\n", tracks.count(), container.format_ctx->nb_streams);
    if (!open_all(container, sound, tracks)) {
        why::within("there is no sound");
        disable_sound(tracks);
        return false;
    }
    sound.user = tracks.first().delivered;
    return true;
}

}  // namespace qmio::audio
