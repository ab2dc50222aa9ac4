// Quarter turns and mirror images of pictures, as streams tell in their display matrix.
#pragma once

#include "ffmpeg/picture.h"

namespace qmio::ffmpeg {

// Columns and rows change places first, then what comes out is mirrored.
struct Turn {
    bool transposes = false;
    bool mirrors_columns = false;  // left and right
    bool mirrors_rows = false;     // top and bottom

    bool is_none() const { return !transposes && !mirrors_columns && !mirrors_rows; }
    bool operator==(const Turn&) const = default;
};

// What makes the stream's pictures upright: the quarter turn that is nearest to what its display matrix asks for, mirrored
// where that asks for it. None without a matrix.
Turn turn_of(const AVStream& stream);

// The turn that a display matrix, nine numbers, comes to.
Turn turn_of_matrix(const int32_t* matrix);

// Turns pictures in memory of its own.
class Turner {
  public:
    // `source` turned; what it holds stays until the next call. Its format is the source's where each plane can be turned by
    // itself, else one that has a sample of every colour for every pixel. Not valid() when memory is short or there is no
    // such conversion. `flags` are libswscale's, for the latter.
    Picture turn(const Picture& source, Turn turn, int flags);

  private:
    FramePtr whole_;
    FramePtr scratch_;
    FramePtr turned_;
};

}  // namespace qmio::ffmpeg
