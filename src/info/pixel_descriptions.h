// What pixel formats are, in words.
#pragma once

#include <cstdint>

namespace qmio::info {

// The description of a pixel format by its interface number; null for one that is not in the table.
const char* pixel_description(int32_t number);

// 1 for planar YUV of 8 bits, 2 for planar YUV of more, 0 for everything else.
int luma_class(int32_t number);

// How many rows the table of descriptions has; some formats have two.
int pixel_description_count();

}  // namespace qmio::info
