// What libswscale needs of pictures and contexts, as measured on versions 6 and read in their source.
#pragma once

#include "ffmpeg/picture.h"

namespace qmio::ffmpeg {

// sws_getContext for the sizes and formats of two pictures, whose pixels are not looked at; null where there is no such
// conversion. YUV becomes RGB by the source's matrix and range where it has them. Fast bilinear becomes bilinear where libswscale would divide by zero: target planes two samples wide.
ScalerPtr make_scaler(const Picture& source, const Picture& target, int flags, SwsFilter* source_filter = nullptr,
                      SwsFilter* target_filter = nullptr, const double* parameters = nullptr);

// True when libswscale reads nothing but `source` and what is readable behind it, and does not let bytes behind the
// picture's edge decide a pixel at random.
bool can_read_in_place(const Picture& source, const Picture& target, int flags);

// True when libswscale, reading pictures of format `source`, writes nothing but `target`.
bool can_write_in_place(AVPixelFormat source, const Picture& target);

struct PictureSize {
    int width;
    int height;
    bool operator==(const PictureSize&) const = default;
};

// The size at which a conversion without scaling writes every pixel of the target: the target's own, or somewhat more
// for the converters that leave the last columns or the last row of chroma out.
PictureSize size_that_fills(const Picture& source, const Picture& target, int flags);

// True for the targets whose dither pattern begins anew in the last columns, so that a larger size gives other pixels
// there.
bool restarts_dither(AVPixelFormat target);

// The format with alpha of a packed format that has an unused byte in its place; AV_PIX_FMT_NONE for other formats.
AVPixelFormat with_alpha(AVPixelFormat format);

}  // namespace qmio::ffmpeg
