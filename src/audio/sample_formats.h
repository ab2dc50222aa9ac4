// Sample formats by the small numbers that hosts use.
#pragma once

#include <cstdint>

#include "ffmpeg/ffmpeg.h"

namespace qmio::audio {

// The sample format that an interface code (bits per sample, negative when planar, 0 and -1 for float) stands for;
// AV_SAMPLE_FMT_NONE for any other number.
AVSampleFormat sample_format_from_code(int32_t code);

// The code of a format. Planar formats are negative, float is 0 and -1, 64-bit integers are 128 because 64 is double.
// 0 is also what is no format: hosts cannot tell float from none, and compare with 0 for float.
int32_t code_of_sample_format(int32_t format);

// 0 for a format that is none.
int sample_bytes(int32_t format);

// What one sample of silence is made of: the middle of unsigned 8-bit, zeros otherwise.
uint8_t silence_byte(int bytes_per_sample);

}  // namespace qmio::audio
