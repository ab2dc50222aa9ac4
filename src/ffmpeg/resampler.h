// libswresample between two forms of sound, each with the default layout of its channel count.
#pragma once

#include <cstdint>

#include "ffmpeg/owners.h"

namespace qmio::ffmpeg {

struct SoundForm {
    int channels = 0;
    AVSampleFormat format = AV_SAMPLE_FMT_NONE;
    int rate = 0;  // Hz
    bool operator==(const SoundForm&) const = default;
};

// The speaker mask that a channel count alone stands for; 0 where there is no such convention.
uint64_t default_layout_mask(int channels);

SoundForm form_of(const AVCodecContext& codec);
SoundForm form_of(const AVFrame& frame);

class Resampler {
  public:
    // Replaces what was there. Nothing is converted before `init` said yes.
    void prepare(const SoundForm& from, const SoundForm& to);

    // False when the two forms cannot be converted; the resampler is empty then, but knows for which.
    bool init();

    void reset() { *this = Resampler(); }

    // Forgets the sound that is still inside.
    void restart();

    explicit operator bool() const { return context_ != nullptr; }
    const void* address() const { return context_.get(); }
    const SoundForm& from() const { return from_; }
    const SoundForm& to() const { return to_; }

    // True when frames of this form can be read: whatever their rate, it is not part of their bytes.
    bool reads(const SoundForm& form) const { return form.channels == from_.channels && form.format == from_.format; }

    // Samples per channel that `count` more of them, at `rate` Hz, come to, with what is still inside. Above 0 for any
    // count above 0.
    int expected(int count, int rate) const;

    // Samples per channel written to `target`, which has room for `capacity`; or a negative FFmpeg error.
    int convert(uint8_t* const* target, int capacity, const uint8_t* const* source, int count);

  private:
    bool can_convert() const;

    ResamplerPtr context_;
    SoundForm from_;
    SoundForm to_;
};

}  // namespace qmio::ffmpeg
