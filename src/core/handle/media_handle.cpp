#include "core/handle/media_handle.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <numeric>

#include "core/process/why.h"
#include "core/text/names.h"
#include "ffmpeg/packet_copy.h"

namespace qmio {

namespace {

ffmpeg::PacketPtr make_packet() {
    ffmpeg::PacketPtr packet(av_packet_alloc());
    if (packet != nullptr)
        ffmpeg::clear_packet(*packet);
    return packet;
}

bool make_packets(Reading& reading) {
    reading.packet = make_packet();
    reading.saved_pkt = make_packet();
    reading.audio_packet = make_packet();
    return reading.packet != nullptr && reading.saved_pkt != nullptr && reading.audio_packet != nullptr;
}

uint64_t next_number() {
    static std::atomic<uint64_t> last{0};
    return ++last;
}

}  // namespace

MediaHandle* create_handle() {
    std::unique_ptr<void, ffmpeg::BlockDeleter> memory(av_mallocz(sizeof(MediaHandle)));
    if (memory == nullptr) {
        why::failed(AVERROR(ENOMEM));
        return nullptr;
    }
    auto* handle = new (memory.get()) MediaHandle;
    static_cast<void>(memory.release());
    handle->number = next_number();
    std::iota(handle->sound.chan_map.begin(), handle->sound.chan_map.end(), 0);
    if (!make_packets(handle->reading)) {
        why::failed(AVERROR(ENOMEM));
        destroy_handle(handle);
        return nullptr;
    }
    return handle;
}

void destroy_handle(MediaHandle* handle) {
    handle->~MediaHandle();
    av_free(handle);
}

bool set_file_name(MediaHandle& handle, const std::string& name, uint32_t code_page) {
    if (name.size() >= sizeof handle.file_name) {
        why::failed(AVERROR(ENAMETOOLONG));
        return false;
    }
    std::memcpy(handle.file_name, name.c_str(), name.size() + 1);
    handle.code_page = code_page;
    return true;
}

std::wstring wide_name(const MediaHandle& handle) {
    return wide_name(handle.file_name, handle.code_page);
}

std::string shown_name(const MediaHandle& handle) {
    return shown_name(handle.file_name, handle.code_page);
}

std::string url_of(const MediaHandle& handle) {
    return url_of(handle.file_name, handle.code_page);
}

int32_t Tracks::number_of_stream(int32_t stream) const {
    const Track* const found =
        std::find_if(begin(), end(), [stream](const Track& track) { return track.stream_index == stream; });
    return found != end() && stream >= 0 ? static_cast<int32_t>(found - begin()) : kNone;
}

void release_codecs(MediaHandle& handle) {
    handle.reading.decoder = ffmpeg::Decoder();
    handle.video.codec = nullptr;
    for (Track& track : handle.tracks)
        track.codec = nullptr;
    handle.container.stream_codec.clear();
}

void release_container(MediaHandle& handle) {
    handle.video.stream = nullptr;
    for (Track& track : handle.tracks)
        track.stream = nullptr;
    handle.container.format_ctx.reset();
}

void flush_video_decoder(Video& video, Reading& reading) {
    video.number_shift = 0;
    reading.landing.reset();
    if (video.codec != nullptr)
        reading.decoder.flush();
    reading.concealment.take();  // of the place before, by threads that went on until now
}

void flush_audio_decoders(Tracks& tracks, Sound& sound) {
    sound.swr.restart();
    for (Track& track : tracks) {
        track.decoder.flush();
        track.rest = {};
        track.swr.restart();
        track.own_swr.restart();
    }
}

}  // namespace qmio
