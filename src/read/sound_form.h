// A track's sound by position in the form that the host wants: what converting the whole of it from the start would give.
#pragma once

#include <cstdint>
#include <vector>

#include "ffmpeg/resampler.h"
#include "read/sound_track.h"

namespace qmio::read {

class SoundInForm {
  public:
    // `track` has to live longer.
    SoundInForm(SoundTrack& track, const ffmpeg::SoundForm& form) : track_(track), form_(form) {}

    const ffmpeg::SoundForm& form() const { return form_; }

    // False where the track's sound cannot be had in this form.
    bool prepare();

    // Samples per channel from `position` on into planes or frames without gaps; `most` unless the sound ends before.
    int read(int64_t position, int most, uint8_t* buffer);

  private:
    ffmpeg::SoundForm packed_form() const;
    bool has_other_rate() const { return form_.rate != track_.form().rate; }
    bool has_samples_of_track() const;

    int read_converted(int64_t position, int most);
    bool add_frame(const AVFrame& frame, int first, int count);
    void add_packed(const AVFrame& frame, int first, int count);

    int read_resampled(int64_t position, int most);
    void begin_resampling(int64_t position);
    bool resample_more();
    bool add_converted(const uint8_t* const* planes, int count);

    void deliver(int count, uint8_t* buffer) const;

    SoundTrack& track_;
    ffmpeg::SoundForm form_;
    ffmpeg::Resampler resampler_;
    bool resamples_ = false;
    std::vector<uint8_t> ready_;  // frames of the form, packed
    std::vector<uint8_t> piece_;  // what the resampler gave last
    int64_t ready_from_ = 0;      // position of the first of them
    int64_t next_in_ = 0;         // sample of the track that is resampled next
    bool drained_ = true;         // nothing more comes: before the first reading, and behind the end
};

}  // namespace qmio::read
