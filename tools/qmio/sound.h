// The sound of one track of a file, in the form that is asked for, piece by piece.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "source.h"

namespace host {

// Channels, rate in Hz, and sample format as the library's code (bits, negative when planar, 0 and -1 for float).
struct SoundForm {
    int channels = 2;
    int rate = 48000;
    int format = 16;
};

// The code of a format's name ("s16", "fltp"). Throws a Failure for a name that is none.
int sample_format_code(const std::string& name);

// Bytes of a sample in a format of the library's codes.
int sample_size(int format);

class Sound {
  public:
    // Throws a Failure when the file has no such track or its sound cannot be decoded.
    Sound(const std::string& file, int track, const SoundForm& form);

    const SoundForm& form() const { return form_; }
    int bytes_per_frame() const { return form_.channels * sample_size(form_.format); }
    int64_t duration_ms() const;  // of the whole file, as far as it tells

    // The next piece; empty at the end. Valid until the next call. Damaged packets are passed over.
    struct Piece {
        const uint8_t* samples = nullptr;
        int bytes = 0;
    };
    Piece next();

    // When the first sample is heard, in seconds on the file's clock; nothing where the file does not tell, or has no sound.
    std::optional<double> start();

    // How much was given so far.
    int64_t delivered_frames() const { return delivered_frames_; }
    int64_t delivered_ms() const { return delivered_frames_ * 1000 / form_.rate; }

  private:
    Piece take();
    std::optional<double> time_of_packet() const;
    bool next_packet();
    void make_room();
    Piece in_form(int bytes);

    Source source_;
    SoundForm form_;
    int track_;
    int64_t file_rate_ = 0;
    bool interleave_ = false;
    std::vector<uint8_t> buffer_;
    std::vector<uint8_t> interleaved_;
    bool in_packet_ = false;
    std::optional<Piece> ahead_;  // decoded, but not yet given
    std::optional<double> start_;
    int64_t delivered_frames_ = 0;
};

}  // namespace host
