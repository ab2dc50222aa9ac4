// The record behind every media handle. It is made of one record for each thing that a handle is about; the rooms' own
// routines change them.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "core/handle/container.h"
#include "core/handle/reading.h"
#include "core/handle/remuxing.h"
#include "core/handle/sound.h"
#include "core/handle/track.h"
#include "core/handle/video.h"
#include "core/handle/writing.h"

namespace qmio {

inline constexpr int kMaxName = 1024;

namespace packet {
class BackgroundReader;
}

// What hosts call the two kinds of stream.
enum StreamKind { kVideoKind = 1, kAudioKind = 2 };

}  // namespace qmio

// Opaque to hosts. It lives in zeroed memory of FFmpeg's allocator and is destroyed by qmio_close alone.
struct MediaHandle {
    char file_name[qmio::kMaxName] = {};
    uint32_t code_page = 0;          // that file_name is in
    uint64_t number = 0;             // no other handle of the process has it, even after this one is closed
    std::recursive_mutex call_lock;  // held during every call on the handle; qmio_cancel waits for it
    std::mutex cancel_lock;          // held by qmio_cancel from beginning to end; qmio_close waits for it
    qmio::Container container;       // below it what borrows its streams and codecs
    qmio::Video video;
    qmio::Tracks tracks;
    qmio::Sound sound;
    qmio::Reading reading;
    qmio::Writing writing;
    qmio::Remuxing remuxing;
    std::shared_ptr<qmio::packet::BackgroundReader> reader_queue;  // reads ahead; null: packets come from the container
};

namespace qmio {

// Puts container and decoder where the host takes them to be. Pictures that were sought may have been delivered without
// that; every call that does not deliver sought pictures, and does more than to ask, comes here first.
inline void catch_up(MediaHandle& handle) {
    if (handle.reading.catch_up != nullptr)
        handle.reading.catch_up(handle);
}

// A new handle with empty packets and the identity channel map; null when memory is short.
MediaHandle* create_handle();
void destroy_handle(MediaHandle* handle);

// False when the name does not fit: it is refused, never cut.
bool set_file_name(MediaHandle& handle, const std::string& name, uint32_t code_page);

// The handle's name as core/text/names.h gives names.
std::wstring wide_name(const MediaHandle& handle);
std::string shown_name(const MediaHandle& handle);
std::string url_of(const MediaHandle& handle);

inline bool is_writer(const MediaHandle& handle) {
    return (handle.writing.mode & mode::writer) != 0;
}

// The context that video packets are decoded with; null in a writer and without video.
inline AVCodecContext* decoding_context(const MediaHandle& handle) {
    return is_writer(handle) ? nullptr : handle.video.codec;
}

// Closes the codecs of all streams. The decoders and encoders over them hold nothing of FFmpeg's that needs them then.
void release_codecs(MediaHandle& handle);

// Closes the container and forgets the streams that it owned.
void release_container(MediaHandle& handle);

// Forgets everything that decoders and resamplers hold, as after a change of place.
void flush_video_decoder(Video& video, Reading& reading);
void flush_audio_decoders(Tracks& tracks, Sound& sound);

}  // namespace qmio
