// Encoding by FFmpeg's plain calls: what the files that the library writes are held against.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "support/made_pictures.h"
#include "support/plain_sound.h"

namespace qmio::test {

// How a track is encoded.
struct SoundEncoding {
    std::string encoder;
    SoundForm form;
    int64_t bit_rate = 0;
    bool global_header = false;  // the container wants headers apart from the packets
    bool experimental = false;
};

// What the encoder takes at a time, and nothing where it does not open; 0 for one that takes any number.
std::optional<int> frame_of(const SoundEncoding& encoding);

// What an encoder of fixed frames takes at a time; 0 for one that takes any number.
int frame_samples(const SoundEncoding& encoding);

// Whole frames of a sound that is silent from `samples` on, as many as it takes; the encoder is not drained.
std::vector<Bytes> encode_plainly(const SoundEncoding& encoding, const SoundMaker& maker, int64_t samples);

// These frames, each as it lies in a host's buffer. One that the encoder refuses gives nothing.
std::vector<Bytes> encode_plainly(const SoundEncoding& encoding, const std::vector<Bytes>& frames);

}  // namespace qmio::test
