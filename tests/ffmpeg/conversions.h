// Conversions in memory that is watched, held against libswscale itself.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "ffmpeg/ffmpeg.h"

namespace qmio::test {

using Bytes = std::vector<uint8_t>;

// Where the pictures lie: right behind or right before memory that nothing can touch. The source alone also right
// before the few bytes that may be read behind a picture; in a frame as decoders make them, with lines of whole
// vectors; in such a frame stored from the bottom up.
enum class Place { start, end, before_padding, frame, bottom_up_frame };

struct Conversion {
    AVPixelFormat source;
    AVPixelFormat target;
    int source_width, source_height;
    int width, height;
    int flags = SWS_FAST_BILINEAR;
    int alignment = 1;             // of the target's rows
    Place decoded = Place::frame;  // where the source lies when a decoder made it
};

std::ostream& operator<<(std::ostream& out, const Conversion& conversion);

Conversion same_size(AVPixelFormat source, AVPixelFormat target, int width, int height, int flags = SWS_FAST_BILINEAR);

// The formats for which libswscale says yes, those of hardware left out.
std::vector<AVPixelFormat> software_formats(int (*supported)(AVPixelFormat));

// Bytes of a picture without gaps.
std::size_t packed_size(AVPixelFormat format, int width, int height);

// Pixels of the conversion's source, without gaps; always the same for a seed.
Bytes random_pixels(const Conversion& conversion, uint32_t seed);

struct Converted {
    int rows = 0;
    Bytes pixels;       // without gaps
    std::string fault;  // what it wrote besides the target; empty when nothing
};

// Converts. What the target, the scratch picture, the memory beside the source and fresh memory hold follows from
// `fill`.
Converted converted(const Conversion& conversion, const Bytes& pixels, Place place, uint8_t fill);

// What a user could hold against the conversion: a byte of the target that is not written, one outside that is, a
// result that follows from memory that nobody set, a byte that libswscale always makes otherwise. Empty when there is
// nothing.
// Not compared with libswscale, which has no certain result there: copies in one format and size, some of which it
// leaves incomplete; fast bilinear filtering to planes two samples wide, where it divides by zero; alpha made up for
// odd widths, for which it averages the last column with memory that nobody set.
std::string fault_of(const Conversion& conversion, const Bytes& pixels);

}  // namespace qmio::test
