#include "audio/open_tracks.h"

#include <algorithm>
#include <limits>

#include "core/codec_open.h"
#include "core/frame_numbers.h"
#include "core/last_error.h"
#include "core/trace.h"
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

bool find_track_decoder(MediaHandle& handle, std::size_t track) {
    AudioState& audio = handle.audio;
    const int32_t stream = audio.track_stream[track];
    audio.track_av_stream[track] = handle.format_ctx->streams[stream];
    audio.track_codec[track] = handle.stream_codec[static_cast<std::size_t>(stream)].get();
    if (audio.track_codec[track] == nullptr)
        return false;
    if (audio.track_codec[track]->codec_id == AV_CODEC_ID_NONE) {
        trace(TraceSwitch::open, kTag, L"No codec found for audio stream %d (%d)", static_cast<int>(track), stream);
        set_last_error(AV_LOG_ERROR, L"No codec found for audio stream %d (%d)", static_cast<int>(track), stream);
        return false;
    }
    audio.track_decoder[track] = ffmpeg::find_decoder(audio.track_codec[track]->codec_id);
    return audio.track_decoder[track] != nullptr;
}

bool prepare_buffers(AudioState& audio, std::size_t track) {
    if (audio.audio_frame == nullptr)
        audio.audio_frame.reset(av_frame_alloc());
    return audio.audio_frame != nullptr && audio.track_buf[track].at_least(kTrackBufferSize) != nullptr;
}

bool open_track(MediaHandle& handle, std::size_t track) {
    AudioState& audio = handle.audio;
    if (!find_track_decoder(handle, track))
        return false;
    AVCodecContext& codec = *audio.track_codec[track];
    if (open_codec(codec, *audio.track_decoder[track], nullptr) < 0)
        return false;
    // Every track writes this one field; the last one's length is what remains.
    audio.audio_dur_ms = duration_ms(*handle.format_ctx, *audio.track_av_stream[track]);
    audio.track_chans[track] = codec.ch_layout.nb_channels;
    audio.track_rate[track] = codec.sample_rate;
    audio.track_fmt[track] = codec.sample_fmt;
    audio.track_form[track] = ffmpeg::form_of(codec);
    audio.track_frames[track].attach(&codec);
    return prepare_buffers(audio, track);
}

// The decoders opened so far stay open until the handle is closed; no call reaches them any more.
void disable_audio(AudioState& audio) {
    audio.track_stream.fill(-1);
    audio.track_codec.fill(nullptr);
    audio.track_decoder.fill(nullptr);
}

}  // namespace

void find_tracks(MediaHandle& handle) {
    AudioState& audio = handle.audio;
    for (std::size_t index = 0; index < handle.stream_codec.size() && audio.track_count < kMaxTracks; ++index) {
        const AVCodecContext* codec = handle.stream_codec[index].get();
        if (codec != nullptr && codec->codec_type == AVMEDIA_TYPE_AUDIO)
            audio.track_stream[static_cast<std::size_t>(audio.track_count++)] = static_cast<int32_t>(index);
    }
}

bool open_tracks(MediaHandle& handle) {
    AudioState& audio = handle.audio;
    handle.reader.stream_flags |= stream_flag::map_report_pending;
    audio.fill_silence = 1;
    trace(TraceSwitch::open, kTag, L"AUDIO, %d streams of %d\n", audio.track_count, handle.format_ctx->nb_streams);
    for (std::size_t track = 0; track < static_cast<std::size_t>(audio.track_count); ++track) {
        if (!open_track(handle, track)) {
            disable_audio(audio);
            return false;
        }
    }
    audio.user_rate = audio.track_rate[0];
    audio.user_fmt = audio.track_fmt[0];
    audio.user_chans = audio.track_chans[0];
    return true;
}

}  // namespace qmio::audio
