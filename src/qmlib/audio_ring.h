// A ring of samples between callers that bring any number of them and an encoder that takes a fixed one.
#pragma once

#include <cstdint>
#include <memory>

#include "ffmpeg/owners.h"

namespace qmio::qmlib {

// Holds at most as many samples per channel as it was made for. All counts are samples per channel. Planar samples lie
// plane behind plane without gaps, each plane as long as the count of the call.
class AudioRing {
  public:
    // Null for a form that is none, for more than 64 planes, and when memory is short.
    static std::unique_ptr<AudioRing> create(int capacity, int bytes_per_sample, int channels, bool planar);

    // Stores what fits of `count` samples, and returns how many that were.
    int write(const uint8_t* data, int count);

    // The same with samples all of whose bytes are `value`.
    int fill(uint8_t value, int count);

    // Takes `count` samples out, all of them or (while there are fewer) none. Returns how many.
    int read(uint8_t* data, int count);

    // Samples that are ready to be read.
    int ready() const;

  private:
    AudioRing(ffmpeg::AudioFifoPtr fifo, int capacity, int bytes_per_sample, int channels, bool planar);

    ffmpeg::AudioFifoPtr fifo_;
    int capacity_;
    int bytes_per_sample_;
    int channels_;
    bool planar_;
};

}  // namespace qmio::qmlib
