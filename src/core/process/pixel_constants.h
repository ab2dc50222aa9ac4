// The exported pixel-format integers.
#pragma once

namespace qmio {

// Gives the 18 exported integers their values; called once while the library loads.
void fill_pixel_format_constants();

}  // namespace qmio
