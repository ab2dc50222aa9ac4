// A sound stream of a handle, read or written.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "ffmpeg/decoder.h"
#include "ffmpeg/encoder.h"
#include "ffmpeg/owners.h"
#include "ffmpeg/resampler.h"
#include "qmlib/audio_ring.h"

namespace qmio {

inline constexpr int kMaxTracks = 16;
inline constexpr int kTrackBufferSize = 192000;

// What hosts are told of sound that there is not: zeros.
inline constexpr ffmpeg::SoundForm kNoSound{0, AV_SAMPLE_FMT_U8, 0};

// What was left of a packet of which a decoder still holds frames.
struct PacketRest {
    const uint8_t* data = nullptr;
    int size = 0;
};

struct Track {
    int32_t stream_index = -1;
    AVStream* stream = nullptr;       // owned by the container
    AVCodecContext* codec = nullptr;  // opened as decoder or encoder; owned by the container
    const AVCodec* coder = nullptr;   // the decoder or encoder that it is opened with
    ffmpeg::SoundForm file;           // what the decoder gave when the host last chose, or what the encoder takes
    ffmpeg::SoundForm delivered = kNoSound;  // what the host is told: the form it gets, or the encoder's
    ffmpeg::Block buffer;  // resampled sound that the host gets otherwise arranged; taken when it is first needed

    int64_t pts =
        0;  // of the frame decoded last; of a file that is written of the next frame, in the codec's time base

    // Of a source.
    ffmpeg::Decoder decoder;  // one packet in, one frame out, over `codec`
    PacketRest rest;
    ffmpeg::Resampler swr;      // while all tracks are read together; in a writer when the current track's does not fit
    ffmpeg::Resampler own_swr;  // for frames that neither that nor the current track's can read

    // Of a file that is being written.
    ffmpeg::Encoder encoder;    // one frame in, at most one packet out, over `codec`
    int32_t frame_samples = 0;  // that the encoder takes at a time
    std::unique_ptr<qmlib::AudioRing> ring;
    ffmpeg::BlockPtr frame_buffer;  // kTrackBufferSize bytes: one frame from ring to encoder
};

// The tracks of a handle by their numbers.
class Tracks {
  public:
    int32_t count() const { return count_; }
    bool is_full() const { return count_ == kMaxTracks; }

    // The next track; there must be room for it.
    Track& add() { return all_[static_cast<std::size_t>(count_++)]; }

    // Null for a number that is none's.
    Track* find(int32_t number) { return has(number) ? &all_[static_cast<std::size_t>(number)] : nullptr; }
    const Track* find(int32_t number) const { return const_cast<Tracks*>(this)->find(number); }

    // The number of the track that a stream of the container is; kNone for any other stream.
    static constexpr int32_t kNone = -1;
    int32_t number_of_stream(int32_t stream) const;

    // The first track, empty where there is none.
    Track& first() { return all_[0]; }
    const Track& first() const { return all_[0]; }

    // Those that there are, in their order.
    Track* begin() { return all_.data(); }
    Track* end() { return all_.data() + count_; }
    const Track* begin() const { return all_.data(); }
    const Track* end() const { return all_.data() + count_; }

  private:
    bool has(int32_t number) const { return number >= 0 && number < count_; }

    std::array<Track, kMaxTracks> all_;
    int32_t count_ = 0;
};

}  // namespace qmio
