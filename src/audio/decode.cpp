#include "audio/decode.h"

#include <optional>

#include "audio/deliver.h"
#include "audio/queued.h"
#include "audio/sample_formats.h"
#include "core/handle/entry.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "qmio.h"

namespace qmio::audio {

namespace {

constexpr const wchar_t* kTag = L"qmio_audio_pkt";

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
int decode_step(Track& track, AVFrame& frame, AVPacket& packet, bool& got) {
    int result = 0;
    if (is_rest(track.rest, packet))
        got = track.decoder.take_kept(&frame);
    else
        result = track.decoder.decode(&frame, got, &packet);
    if (result >= 0)
        consume(track.rest, packet, track.decoder.has_kept());
    return result;
}

const char* format_name(int32_t format) {
    const char* name = av_get_sample_fmt_name(static_cast<AVSampleFormat>(format));
    return name != nullptr ? name : "none";
}

void trace_formats(const Sound& sound, const Track& track) {
    const AVSampleFormat format = track.codec->sample_fmt;
    trace(TraceSwitch::audio, kTag, L"file (%S) bps %d, user (%S) bps %d\n", format_name(format), sample_bytes(format),
          format_name(sound.user.format), sample_bytes(sound.user.format));
}

void report_map_once(Sound& sound, const Track& track) {
    if (!sound.map_report_pending)
        return;
    sound.map_report_pending = false;
    if (tracing(TraceSwitch::audio))
        trace(TraceSwitch::audio, kTag, L"%s", map_text(sound, delivered_channels(sound, track)).c_str());
}

// The track that a packet can be decoded by; null when there is none.
Track* track_of_packet(Tracks& tracks, const AVPacket& packet) {
    Track* const track = tracks.find(tracks.number_of_stream(packet.stream_index));
    const bool decodable = track != nullptr && track->codec != nullptr && packet.size > 0 && packet.data != nullptr;
    return decodable ? track : nullptr;
}

}  // namespace

int32_t deliver_packet(Tracks& tracks, Sound& sound, uint8_t* buffer, AVPacket& packet) {
    constexpr int32_t kNothing = 0;
    Track* const track = track_of_packet(tracks, packet);
    if (track == nullptr)
        return kNothing;
    trace_formats(sound, *track);
    report_map_once(sound, *track);
    while (packet.size > 0) {
        bool got = false;
        if (const int result = decode_step(*track, *sound.audio_frame, packet, got); result < 0) {
            why::failed(result, "a packet of sound cannot be decoded");
            report(kTag, L"avcodec_decode_audio4 error\n");
            return kNothing;
        }
        if (!got)
            continue;
        track->pts = sound.audio_frame->pts;
        const std::optional<int32_t> delivered = deliver_frame(*track, sound, buffer);
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
    return told_with_handle(h, 0, 0, [&](MediaHandle& handle) {
        if (buf == nullptr || pkt == nullptr || handle.sound.audio_frame == nullptr)
            return 0;
        return audio::deliver_packet(handle.tracks, handle.sound, static_cast<uint8_t*>(buf), *pkt);
    });
}

int qmio_audio_frame(MediaHandle* h, void* buf) {
    return told_with_handle(h, 0, 0, [&](MediaHandle& handle) {
        auto* const buffer = static_cast<uint8_t*>(buf);
        AVPacket* const packet = handle.reading.audio_packet.get();
        if (buffer == nullptr || handle.sound.audio_frame == nullptr)
            return 0;
        if (handle.reader_queue != nullptr)
            return audio::deliver_queued(handle, buffer);
        return packet != nullptr ? audio::deliver_packet(handle.tracks, handle.sound, buffer, *packet) : 0;
    });
}
