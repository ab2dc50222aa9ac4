#include "audio/decode.h"

#include <optional>

#include "audio/channels.h"
#include "audio/deliver.h"
#include "audio/sample_formats.h"
#include "core/entry.h"
#include "core/frame_numbers.h"
#include "core/trace.h"
#include "qmio.h"

namespace qmio::audio {

namespace {

constexpr const wchar_t* kTag = L"qmio_audio_pkt";

bool can_decode(const AudioState& audio, int32_t track) {
    return track != kNoTrack && audio.track_codec[static_cast<std::size_t>(track)] != nullptr;
}

bool is_rest(const PacketRest& rest, const AVPacket& packet) {
    return rest.data != nullptr && rest.data == packet.data && rest.size == packet.size;
}

// While frames of the packet are waiting its last byte stays, and is what the next call knows it by.
void consume(PacketRest& rest, AVPacket& packet, bool frames_waiting) {
    const int kept = frames_waiting ? 1 : 0;
    packet.data += packet.size - kept;
    packet.size = kept;
    rest = frames_waiting ? PacketRest{packet.data, packet.size} : PacketRest{};
}

// One frame out of a packet: the next one waiting when the decoder has the packet already. Negative: a broken packet,
// which stays as it is.
int decode_step(AudioState& audio, std::size_t track, AVPacket& packet, int* got) {
    ffmpeg::Decoder& frames = audio.track_frames[track];
    AVFrame* frame = audio.audio_frame.get();
    int result = 0;
    if (is_rest(audio.track_rest[track], packet))
        *got = frames.take_kept(frame) ? 1 : 0;
    else
        result = frames.decode(frame, got, &packet);
    if (result >= 0)
        consume(audio.track_rest[track], packet, frames.has_kept());
    return result;
}

// Deliberately by the first track's clock whichever track the frame belongs to, and only while there is a video frame.
int32_t time_of_frame(const MediaHandle& handle) {
    constexpr int32_t kUnknown = -1;
    const AudioState& audio = handle.audio;
    const AVStream* stream = audio.track_av_stream[0];
    if (handle.reader.pFrame == nullptr || stream == nullptr)
        return kUnknown;
    const int64_t timestamp = picture_timestamp(*audio.audio_frame, audio.audio_packet.get());
    if (timestamp == AV_NOPTS_VALUE)
        return kUnknown;
    // As doubles: a host's packet may carry any number.
    const double ticks = static_cast<double>(timestamp) - static_cast<double>(start_or_zero(*stream));
    const double ms = ticks * 1000 * av_q2d(stream->time_base);
    return ms > -2147483648.0 && ms < 2147483648.0 ? static_cast<int32_t>(ms) : kUnknown;
}

const char* format_name(int32_t format) {
    const char* name = av_get_sample_fmt_name(static_cast<AVSampleFormat>(format));
    return name != nullptr ? name : "none";
}

void trace_formats(const AudioState& audio, std::size_t track) {
    const AVSampleFormat format = audio.track_codec[track]->sample_fmt;
    trace(TraceSwitch::audio, kTag, L"file (%S) bps %d, user (%S) bps %d\n", format_name(format), sample_bytes(format),
          format_name(audio.user_fmt), sample_bytes(audio.user_fmt));
}

void report_map_once(MediaHandle& handle, std::size_t track) {
    if ((handle.reader.stream_flags & stream_flag::map_report_pending) == 0)
        return;
    handle.reader.stream_flags &= ~stream_flag::map_report_pending;
    if (tracing(TraceSwitch::audio))
        trace(TraceSwitch::audio, kTag, L"%s", map_text(handle.audio, delivered_channels(handle.audio, track)).c_str());
}

}  // namespace

int32_t deliver_packet(MediaHandle& handle, uint8_t* buffer, AVPacket& packet) {
    constexpr int32_t kNothing = 0;
    AudioState& audio = handle.audio;
    const int32_t found = find_track(audio, packet.stream_index);
    if (!can_decode(audio, found) || packet.size < 1 || packet.data == nullptr)
        return kNothing;
    const std::size_t track = static_cast<std::size_t>(found);
    trace_formats(audio, track);
    report_map_once(handle, track);
    while (packet.size > 0) {
        int got = 0;
        if (decode_step(audio, track, packet, &got) < 0) {
            report(kTag, L"avcodec_decode_audio4 error\n");
            return kNothing;
        }
        if (got == 0)
            continue;
        audio.audio_time_ms = time_of_frame(handle);
        const std::optional<int32_t> delivered = deliver_frame(handle, track, buffer);
        if (!delivered.has_value())
            return kNothing;
        if (*delivered > 0)
            return *delivered;
    }
    return kNothing;
}

}  // namespace qmio::audio

using namespace qmio;

int qmio_audio_pkt(MediaHandle* h, void* buf, AVPacket* pkt) {
    return with_handle(h, 0, 0, [&](MediaHandle& handle) {
        if (buf == nullptr || pkt == nullptr || handle.audio.audio_frame == nullptr)
            return 0;
        return audio::deliver_packet(handle, static_cast<uint8_t*>(buf), *pkt);
    });
}

int qmio_audio_frame(MediaHandle* h, void* buf) {
    return with_handle(
        h, 0, 0, [&](MediaHandle& handle) { return qmio_audio_pkt(&handle, buf, handle.audio.audio_packet.get()); });
}
