// The units that packets of H.264 and HEVC consist of: headers, slices of pictures and others. Each begins with a byte that
// tells its type.
#pragma once

#include <cstdint>
#include <span>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

inline constexpr int kNoUnit = -1;

// Bytes that tell its length before each unit, by the headers that the container keeps; 0: units begin with start codes.
int unit_length_bytes(const AVCodecParameters& parameters);

// Behind the next start code; the end where there is none.
const uint8_t* behind_start_code(const uint8_t* at, const uint8_t* end);

class PictureUnits {
  public:
    PictureUnits(std::span<const uint8_t> packet, int length_bytes);

    // First byte of the next unit; null behind the last.
    const uint8_t* next();

    // True where a length leads beyond the packet's end, or to none.
    bool is_cut() const { return cut_; }

  private:
    const int length_bytes_;
    const uint8_t* const end_;
    const uint8_t* next_;
    bool cut_ = false;
};

// Type of the first unit that holds a slice; kNoUnit without one.
int first_slice_type(AVCodecID codec, std::span<const uint8_t> packet, int length_bytes);

// Of such a type: with its picture the counting of pictures begins anew.
bool begins_sequence(AVCodecID codec, int slice_type);

// Of such a type of HEVC: its picture refers to what lies before the key picture that it is shown before.
bool refers_before_key(int slice_type);

// Tells packets to whose picture no other refers, and which bring nothing else: a decoder that leaves out such pictures
// does without them.
class NonReference {
  public:
    explicit NonReference(const AVCodecParameters& parameters)
        : codec_(parameters.codec_id), length_bytes_(unit_length_bytes(parameters)) {}

    // False where the codec is another, or the packet is not understood.
    bool is_all_of(const AVPacket& packet) const;

  private:
    AVCodecID codec_;
    int length_bytes_;
};

}  // namespace qmio::ffmpeg
