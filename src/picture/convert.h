// The picture converter: where all converting and scaling entry points end.
#pragma once

#include <cstdint>

// qmio.h after FFmpeg's headers declares no exported integers; so the files that use both decide the order.
struct imio_picture;

namespace qmio {

// The interface's number of the one format that the linear scaler takes, on both sides.
inline constexpr int32_t kLinearFormat = 30;  // BGRA

// Converts `source` into `target` and scales it where the sizes differ. `algorithm` is the scaler's flags, or 0 for the
// linear scaler where both pictures are BGRA and flags 1 elsewhere. Returns the rows written, on the linear path the
// target's height; 0 when a record or its data is null, when a record describes no picture and when there is no such
// conversion.
int convert_picture(imio_picture* target, const imio_picture* source, int algorithm);

// A picture record of a bare buffer: rows of width x 4 bytes, alignment 1.
imio_picture picture_record(const void* data, int32_t format, int32_t width, int32_t height);

}  // namespace qmio
