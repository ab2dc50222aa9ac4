// How far a picture has to be turned to be seen upright.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

using DisplayMatrix = std::array<int32_t, 9>;

// None where the stream has no matrix.
std::optional<DisplayMatrix> display_matrix(const AVStream& stream);

// Whole degrees clockwise, 0 to 359, as the stream's display matrix says; 0 without one.
int display_rotation(const AVStream& stream);

}  // namespace qmio::ffmpeg
