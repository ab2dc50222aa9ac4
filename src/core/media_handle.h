// The record behind every media handle: one sub-record per room, so that a line of code shows which room owns a field.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ffmpeg/decoder.h"
#include "ffmpeg/encoder.h"
#include "ffmpeg/owners.h"
#include "ffmpeg/resampler.h"
#include "ffmpeg/stream_clock.h"
#include "platform/shared_mapping.h"
#include "qmlib/audio_ring.h"
#include "qmlib/input_source.h"
#include "qmlib/memory_output.h"

namespace qmio {

inline constexpr int kMaxTracks = 16;
inline constexpr int kMaxName = 1024;
inline constexpr int kTrackBufferSize = 192000;
inline constexpr int kMaxUserChannels = 64;
inline constexpr int kPictureAlignment = 16;  // of rows, in the picture sizes that the handle tells

// What hosts call the two kinds of stream.
enum StreamKind { kVideoKind = 1, kAudioKind = 2 };

// What open and seeking found out (`stream_flags`).
namespace stream_flag {
inline constexpr uint32_t has_video = 1;
inline constexpr uint32_t map_report_pending = 2;
inline constexpr uint32_t no_seek = 4;
}  // namespace stream_flag

// What kind of handle it is (`mode`); zero in a reader.
namespace mode {
inline constexpr uint32_t writer = 1;
inline constexpr uint32_t remux = 8;
inline constexpr uint32_t interleaved = 16;
inline constexpr uint32_t suppressed = 32;
}  // namespace mode

// A seek whose picture has not been delivered yet (read/seek_target.cpp).
struct PendingSeek {
    static constexpr int none = -1;
    int target = none;           // number of the wanted picture
    int back_off = 0;            // how many frames before the target the last positioning aimed
    bool exact_landing = false;  // the last positioning aimed at any packet, not at a key packet
    bool at_start = false;       // nothing lies before: what comes out is what sequential reading gives
    bool need_key = false;       // no key packet was read since the landing
    bool seen_earlier = false;   // a picture before the target came out since the landing
    bool skipped = false;        // pictures that no other refers to were left out since the landing
    bool damaged = false;        // something since the landing could not be decoded whole
    bool by_time = false;        // the frame-position index is left alone
    bool decode_all = false;     // nothing is left out any more: what damage does depends on every picture
};

struct ReaderState {
    int32_t width = 0;   // picture width in pixels
    int32_t height = 0;  // picture height in pixels
    int32_t frame_count = 0;
    AVPixelFormat pix_fmt = AV_PIX_FMT_NONE;      // of the decoded pictures
    int32_t picture_size = 0;                     // bytes of one, rows aligned to 16
    AVPixelFormat dst_pix_fmt = AV_PIX_FMT_NONE;  // what pictures are delivered in
    int32_t dst_picture_size = 0;
    int32_t want_frame = 0;   // number of the next frame to deliver
    int32_t have_frame = -1;  // number of the frame held in pFrame; -1: none
    int32_t read_result = 0;
    ffmpeg::PacketPtr packet;     // the packet read last
    ffmpeg::PacketPtr saved_pkt;  // laid aside by the host
    int32_t video_stream_index = -1;
    int32_t video_stream_count = 0;
    AVCodecContext* pCodecCtx = nullptr;  // the video stream's; owned by stream_codec
    const AVCodec* video_codec = nullptr;
    ffmpeg::Decoder video_decoder;  // one packet in, at most one picture out, over pCodecCtx
    ffmpeg::FramePtr pFrame;        // the picture decoded last
    ffmpeg::FramePtr pFrameRGB;     // layout of the conversion's target
    ffmpeg::FramePtr scratch;       // aligned target for pictures whose rows libswscale cannot write exactly
    uint32_t stream_flags = 0;
    AVStream* video_st = nullptr;  // owned by format_ctx
    int64_t start_time_us = 0;
    int64_t seek_position = 0;  // last seek target in microseconds; 0 after a failed seek
    AVRational frame_rate{0, 1};
    int32_t frame_time_ms = 0;
    int32_t gop = 12;                          // a number of the host's, kept for it
    AVDiscard skip_frame = AVDISCARD_DEFAULT;  // what the host's options leave out, whatever a seek does
    bool moved = false;                        // packets were read or a seek was made since the source was opened
    PendingSeek pending;
    ffmpeg::StreamClock clock;  // first and last dts of every stream
};

// What was left of a packet of which a decoder still holds frames.
struct PacketRest {
    const uint8_t* data = nullptr;
    int size = 0;
};

struct AudioState {
    AudioState() { track_stream.fill(-1); }

    std::array<int32_t, kMaxTracks> track_stream;
    int32_t track_count = 0;
    std::array<AVCodecContext*, kMaxTracks> track_codec{};  // owned by stream_codec
    std::array<const AVCodec*, kMaxTracks> track_decoder{};
    int32_t audio_dur_ms = 0;
    ffmpeg::PacketPtr audio_packet;  // the audio packet read last; advances as it is decoded
    std::array<int32_t, kMaxTracks> track_rate{};
    std::array<int32_t, kMaxTracks> track_fmt{};
    std::array<int32_t, kMaxTracks> track_chans{};
    ffmpeg::FramePtr audio_frame;
    std::array<AVStream*, kMaxTracks> track_av_stream{};  // owned by format_ctx
    std::array<ffmpeg::Block, kMaxTracks> track_buf;      // kTrackBufferSize bytes each, more after a longer frame
    std::array<int32_t, kMaxUserChannels> chan_map{};
    int32_t user_rate = 0;
    int32_t user_fmt = 0;
    int32_t user_chans = 0;
    int32_t fill_silence = 0;
    int32_t cur_track = 0;  // negative: all tracks
    int32_t need_resample = 0;
    ffmpeg::Resampler swr;
    std::array<ffmpeg::Resampler, kMaxTracks> track_swr;
    std::array<ffmpeg::Resampler, kMaxTracks> track_own_swr;  // for frames that neither of those can read
    std::array<ffmpeg::SoundForm, kMaxTracks> track_form;     // what each decoder gave when the host last chose
    std::array<ffmpeg::Decoder, kMaxTracks> track_frames;     // one packet in, one frame out, over track_codec
    std::array<PacketRest, kMaxTracks> track_rest;
    int32_t audio_time_ms = 0;
};

// A file that is being written: what the option string asks of it, and what was made of that. The arrays are indexed by
// audio track.
struct WriterState {
    WriterState() {
        audio_stream_index.fill(-1);
        sample_fmt.fill(AV_SAMPLE_FMT_U8);
    }

    uint32_t mode = 0;
    int32_t width = 0;
    int32_t height = 0;
    AVPixelFormat pix_fmt = AV_PIX_FMT_NONE;
    int32_t picture_size = 0;
    int32_t header_result = -1;  // of writing the header; negative: there is none in the output
    int32_t has_video = 0;
    AVCodecContext* video_codec_ctx = nullptr;  // owned by stream_codec
    const AVCodec* video_encoder = nullptr;
    ffmpeg::Encoder video_packets;  // one picture in, at most one packet out, over video_codec_ctx
    ffmpeg::FramePtr video_frame;   // points into the host's picture during a call
    std::array<int32_t, kMaxTracks> audio_stream_index;
    int32_t audio_track_count = 0;
    std::array<AVCodecContext*, kMaxTracks> audio_codec_ctx{};  // owned by stream_codec
    std::array<const AVCodec*, kMaxTracks> audio_encoder{};     // null where the name was unknown
    std::array<int32_t, kMaxTracks> sample_rate{};
    std::array<int32_t, kMaxTracks> sample_fmt;
    std::array<int32_t, kMaxTracks> channels{};
    ffmpeg::FramePtr audio_frame;  // points into a track's samples during a call
    const AVOutputFormat* output_format = nullptr;
    AVStream* video_stream = nullptr;                  // owned by format_ctx
    std::array<AVStream*, kMaxTracks> audio_stream{};  // owned by format_ctx
    std::array<int32_t, kMaxTracks> frame_samples{};   // that the encoder takes at a time
    std::array<ffmpeg::Encoder, kMaxTracks>
        audio_packets;  // one frame in, at most one packet out, over audio_codec_ctx
    std::array<std::unique_ptr<qmlib::AudioRing>, kMaxTracks> audio_ring;
    std::array<ffmpeg::BlockPtr, kMaxTracks> audio_buffer;  // kTrackBufferSize bytes: one frame from ring to encoder
    uint32_t video_tag = 0;
    std::array<uint32_t, kMaxTracks> audio_tag{};
    char* mem_block = nullptr;                    // the host's block that the file goes to; null: it goes elsewhere
    std::unique_ptr<qmlib::MemoryOutput> memory;  // over the data of mem_block
    std::array<int64_t, kMaxTracks> audio_pts{};  // of the next frame, in the codec's time base
    ffmpeg::PacketPtr packet;                     // for packets that the host does not see
};

}  // namespace qmio

// Opaque to hosts. It lives in zeroed memory of FFmpeg's allocator and is destroyed by qmio_close alone. Members are
// destroyed from the bottom up: codecs before the container, the container before its I/O.
struct MediaHandle {
    int32_t handle_word = 1;
    char file_name[qmio::kMaxName] = {};
    std::recursive_mutex call_lock;      // held during every call on the handle; qmio_cancel waits for it
    std::mutex cancel_lock;              // held by qmio_cancel from beginning to end; qmio_close waits for it
    std::atomic<bool> cancelled{false};  // makes FFmpeg's blocking I/O return
    std::unique_ptr<qmio::qmlib::InputSource> input;  // bytes that FFmpeg does not fetch itself; null: it does
    qmio::ffmpeg::CustomIoPtr custom_io;
    qmio::ffmpeg::FormatContextPtr format_ctx;
    std::vector<qmio::ffmpeg::CodecContextPtr> stream_codec;  // every stream's own codec context
    qmio::ReaderState reader;
    qmio::AudioState audio;
    qmio::WriterState writer;
    std::unique_ptr<qmio::platform::SharedMapping> index_mapping;  // the frame-position index; null: none
};

namespace qmio {

// A new handle with empty packets and the identity channel map; null when memory is short.
MediaHandle* create_handle();
void destroy_handle(MediaHandle* handle);

// False when the name does not fit: it is refused, never cut.
bool set_file_name(MediaHandle& handle, const std::string& name);

// Makes FFmpeg's blocking I/O on this handle return once the handle is cancelled.
AVIOInterruptCB interrupt_callback(MediaHandle& handle);

// True while there is a container to read from: not before the open, after a cancel or in a writer.
bool is_demuxing(const MediaHandle& handle);

bool is_writer(const MediaHandle& handle);

// The audio track that a stream is; kNoTrack for any other stream.
inline constexpr int32_t kNoTrack = -1;
int32_t find_track(const AudioState& audio, int32_t stream);

// The container's stream that a packet names; null when there is none.
AVStream* stream_of_packet(const MediaHandle& handle, const AVPacket& packet);

// Closes the container and forgets the streams that it owned.
void release_container(MediaHandle& handle);

void flush_video_decoder(MediaHandle& handle);
void flush_audio_decoders(MediaHandle& handle);

}  // namespace qmio
