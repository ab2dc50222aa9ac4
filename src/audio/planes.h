// Planes that follow each other in one block without gaps.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "ffmpeg/resampler.h"

namespace qmio::audio {

inline constexpr int kMaxPlanes = 64;  // no channel count with a default layout is larger
using Planes = std::array<uint8_t*, kMaxPlanes>;

// Bytes of one channel's `count` samples, and of all channels'.
std::size_t plane_size(AVSampleFormat format, int count);
std::size_t block_size(const ffmpeg::SoundForm& form, int count);

// Where the planes of a block begin: one after the other for a planar format, the block itself for a packed one. The rest is
// left as it is.
void find_planes(Planes& planes, uint8_t* block, const ffmpeg::SoundForm& form, int count);

}  // namespace qmio::audio
