#include "core/media_handle.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <numeric>

namespace qmio {

namespace {

// FFmpeg polls this from any thread while it blocks on a network source.
int is_cancelled(void* handle) {
    return static_cast<const MediaHandle*>(handle)->cancelled.load(std::memory_order_relaxed) ? 1 : 0;
}

}  // namespace

MediaHandle* create_handle() {
    std::unique_ptr<void, ffmpeg::BlockDeleter> memory(av_mallocz(sizeof(MediaHandle)));
    if (memory == nullptr)
        return nullptr;
    auto* handle = new (memory.get()) MediaHandle;
    memory.release();
    handle->reader.packet.reset(av_packet_alloc());
    handle->reader.saved_pkt.reset(av_packet_alloc());
    handle->audio.audio_packet.reset(av_packet_alloc());
    std::iota(handle->audio.chan_map.begin(), handle->audio.chan_map.end(), 0);
    if (handle->reader.packet == nullptr || handle->reader.saved_pkt == nullptr ||
        handle->audio.audio_packet == nullptr) {
        destroy_handle(handle);
        return nullptr;
    }
    return handle;
}

void destroy_handle(MediaHandle* handle) {
    handle->~MediaHandle();
    av_free(handle);
}

bool set_file_name(MediaHandle& handle, const std::string& name) {
    if (name.size() >= sizeof handle.file_name)
        return false;
    std::memcpy(handle.file_name, name.c_str(), name.size() + 1);
    return true;
}

AVIOInterruptCB interrupt_callback(MediaHandle& handle) {
    return {is_cancelled, &handle};
}

bool is_demuxing(const MediaHandle& handle) {
    return handle.format_ctx != nullptr && handle.format_ctx->iformat != nullptr;
}

bool is_writer(const MediaHandle& handle) {
    return (handle.writer.mode & mode::writer) != 0;
}

int32_t find_track(const AudioState& audio, int32_t stream) {
    const auto end = audio.track_stream.begin() + audio.track_count;
    const auto found = std::find(audio.track_stream.begin(), end, stream);
    return found != end && stream >= 0 ? static_cast<int32_t>(found - audio.track_stream.begin()) : kNoTrack;
}

AVStream* stream_of_packet(const MediaHandle& handle, const AVPacket& packet) {
    const AVFormatContext* container = handle.format_ctx.get();
    const bool exists = container != nullptr && packet.stream_index >= 0 &&
                        static_cast<unsigned>(packet.stream_index) < container->nb_streams;
    return exists ? container->streams[packet.stream_index] : nullptr;
}

void release_container(MediaHandle& handle) {
    handle.reader.video_st = nullptr;
    handle.audio.track_av_stream.fill(nullptr);
    handle.format_ctx.reset();
}

void flush_video_decoder(MediaHandle& handle) {
    if (handle.reader.pCodecCtx != nullptr)
        handle.reader.video_decoder.flush();
}

void flush_audio_decoders(MediaHandle& handle) {
    handle.audio.swr.restart();
    for (int track = 0; track < handle.audio.track_count; ++track) {
        handle.audio.track_frames[static_cast<std::size_t>(track)].flush();
        handle.audio.track_rest[static_cast<std::size_t>(track)] = {};
        handle.audio.track_swr[static_cast<std::size_t>(track)].restart();
        handle.audio.track_own_swr[static_cast<std::size_t>(track)].restart();
    }
}

}  // namespace qmio
