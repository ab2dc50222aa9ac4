#include "read/packets.h"

#include "core/entry.h"
#include "core/trace.h"
#include "ffmpeg/packet_copy.h"
#include "qmio.h"

using namespace qmio;

int qmio_get_frame(MediaHandle* h) {
    return with_handle(h, -1, -1, [](MediaHandle& handle) { return read::get_frame(handle); });
}

int qmio_release_frame(MediaHandle* h) {
    return with_handle(h, 0, 0, [](MediaHandle& handle) { return read::release_frame(handle); });
}

namespace qmio::read {

namespace {

constexpr const wchar_t* kTag = L"qmio_get_frame";

bool is_selected_audio(const AudioState& audio, int stream) {
    const int32_t track = find_track(audio, stream);
    return track != kNoTrack && (audio.cur_track < 0 || audio.cur_track == track);
}

// Its stream and its times stay known.
void release_bytes(AVPacket& packet) {
    av_buffer_unref(&packet.buf);
    packet.data = nullptr;
    packet.size = 0;
}

}  // namespace

bool read_packet(MediaHandle& handle) {
    ReaderState& reader = handle.reader;
    const bool readable = is_demuxing(handle) && !handle.cancelled.load(std::memory_order_relaxed);
    reader.read_result = readable ? 0 : -1;
    if (reader.read_result != 0)
        return false;
    av_packet_unref(reader.packet.get());
    const int result = av_read_frame(handle.format_ctx.get(), reader.packet.get());
    reader.moved = true;
    if (result >= 0) {
        reader.clock.note(*reader.packet);
        return true;
    }
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    if (tracing(TraceSwitch::read)) {
        av_strerror(result, text, sizeof text);
        trace(TraceSwitch::read, kTag, L"av_read_frame res %d [%S]\n", result, text);
    }
    return false;
}

int get_frame(MediaHandle& handle) {
    if (!read_packet(handle))
        return kEndOfInput;
    const AVPacket& packet = *handle.reader.packet;
    trace(TraceSwitch::read, kTag, L"av_read_frame OK\n");
    if (packet.stream_index == handle.reader.video_stream_index) {
        trace(TraceSwitch::read, kTag, L"%d: byte pos %I64d, size %d\n", handle.reader.want_frame, packet.pos,
              packet.size);
        return kVideoPacket;
    }
    if (!is_selected_audio(handle.audio, packet.stream_index))
        return kOtherPacket;
    return ffmpeg::copy_packet(*handle.audio.audio_packet, packet) ? kAudioPacket : kEndOfInput;
}

int release_frame(MediaHandle& handle) {
    av_packet_unref(handle.reader.packet.get());
    release_bytes(*handle.audio.audio_packet);
    return 0;
}

bool next_video_packet(MediaHandle& handle) {
    for (;;) {
        const int kind = get_frame(handle);
        if (kind == kVideoPacket)
            return true;
        if (kind < 0)
            return false;
        release_frame(handle);
    }
}

}  // namespace qmio::read
