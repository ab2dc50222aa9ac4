#include "read/packets.h"

#include "core/handle/entry.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "ffmpeg/packet_copy.h"
#include "packet/reader_queue.h"
#include "qmio.h"
#include "read/position.h"

using namespace qmio;

int qmio_get_frame(MediaHandle* h) {
    return read::reading(h, -1, -1, read::get_frame);
}

int qmio_release_frame(MediaHandle* h) {
    return with_handle(h, 0, 0, [](MediaHandle& handle) {
        read::Source source(handle);
        return read::release_frame(source);
    });
}

namespace qmio::read {

namespace {

constexpr const wchar_t* kTag = L"qmio_get_frame";

bool is_selected_audio(const Sound& sound, const Tracks& tracks, int stream) {
    const int32_t track = tracks.number_of_stream(stream);
    return track != Tracks::kNone && (sound.cur_track < 0 || sound.cur_track == track);
}

// Its stream and its times stay known.
void release_bytes(AVPacket& packet) {
    av_buffer_unref(&packet.buf);
    packet.data = nullptr;
    packet.size = 0;
}

// A file may have grown since its end was met, and FFmpeg looks again only when it is asked.
void look_behind_end(const Container& container) {
    if (container.format_ctx->pb == nullptr || container.format_ctx->pb->eof_reached == 0)
        return;
    forget_end(container);
    avio_feof(container.format_ctx->pb);
}

void trace_end(int result) {
    if (!tracing(TraceSwitch::read))
        return;
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(result, text, sizeof text);
    trace(TraceSwitch::read, kTag, L"av_read_frame res %d [%S]\n", result, text);
}

// The end of a source is no failure, unless it is what an error of the system looks like to a demuxer.
void tell_end(const Container& container, int result) {
    trace_end(result);
    const AVIOContext* const io = container.format_ctx->pb;
    const int error = result == AVERROR_EOF && io != nullptr && io->error < 0 ? io->error : result;
    if (error != AVERROR_EOF)
        tell_source_failure(container, error, "");
}

}  // namespace

bool is_read_in_background(const Source& source) {
    return source.media.reader_queue != nullptr;
}

bool read_packet(Container& container, Reading& reading) {
    const bool readable = is_demuxing(container) && !container.cancelled.load(std::memory_order_relaxed);
    reading.read_result = readable ? 0 : -1;
    if (!readable) {
        tell_source_failure(container, AVERROR(EBADF), "");
        return false;
    }
    av_packet_unref(reading.packet.get());
    look_behind_end(container);
    const int result = av_read_frame(container.format_ctx.get(), reading.packet.get());
    container.moved = true;
    if (result >= 0)
        container.clock.note(*reading.packet);
    else
        tell_end(container, result);
    return result >= 0;
}

int get_frame(Source& source) {
    if (is_read_in_background(source)) {
        source.reading.read_result = 0;
        return packet::take_packet(source.media);
    }
    if (!read_packet(source.container, source.reading))
        return kEndOfInput;
    const AVPacket& packet = *source.reading.packet;
    trace(TraceSwitch::read, kTag, L"av_read_frame OK\n");
    if (packet.stream_index == source.video.stream_index) {
        number_from_landing(source.video, source.reading, packet);
        trace(TraceSwitch::read, kTag, L"%d: byte pos %I64d, size %d\n", source.video.want_frame, packet.pos,
              packet.size);
        return QMIO_PACKET_VIDEO;
    }
    if (!is_selected_audio(source.sound, source.tracks, packet.stream_index))
        return QMIO_PACKET_OTHER;
    if (ffmpeg::copy_packet(*source.reading.audio_packet, packet))
        return QMIO_PACKET_AUDIO;
    why::failed(AVERROR(ENOMEM));
    return kEndOfInput;
}

int release_frame(Source& source) {
    if (is_read_in_background(source)) {
        packet::release_packets_in_hand(source.media);
        return 0;
    }
    // Hosts find the times of frame 0 in a released packet, not unknown ones.
    ffmpeg::clear_packet(*source.reading.packet);
    release_bytes(*source.reading.audio_packet);
    return 0;
}

AVPacket* video_packet(Source& source) {
    return is_read_in_background(source) ? packet::video_to_decode(source.media) : source.reading.packet.get();
}

bool next_video_packet(Source& source) {
    for (;;) {
        const int kind = get_frame(source);
        if (kind == QMIO_PACKET_VIDEO)
            return true;
        if (kind < 0)
            return false;
        release_frame(source);
    }
}

}  // namespace qmio::read
