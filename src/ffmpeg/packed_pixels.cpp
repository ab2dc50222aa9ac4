#include "ffmpeg/packed_pixels.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace qmio::ffmpeg {

namespace {

constexpr int64_t kUnbounded = std::numeric_limits<int64_t>::max();

// Deflate repeats at most 258 bytes with two bits of code: 1,032 bytes out of one. Pictures of one bit have eight pixels in
// each of those.
constexpr int64_t kDeflatedBits = int64_t{1032} * 8;

// Codecs that write every pixel. Those that leave out what has not changed, or that repeat without end, have no bound.
struct Packing {
    AVCodecID codec;
    int64_t pixels_of_byte;
};
constexpr Packing kPackings[] = {
    {AV_CODEC_ID_PNG, kDeflatedBits}, {AV_CODEC_ID_APNG, kDeflatedBits},  // the first picture, which is the canvas
};

const Packing* packing_of(AVCodecID codec) {
    const auto* const packing = std::find_if(std::begin(kPackings), std::end(kPackings),
                                             [=](const Packing& row) { return row.codec == codec; });
    return packing != std::end(kPackings) ? packing : nullptr;
}

}  // namespace

int64_t most_pixels_in(AVCodecID codec, int64_t bytes) {
    const Packing* const packing = packing_of(codec);
    if (packing == nullptr || bytes < 0 || bytes > kUnbounded / packing->pixels_of_byte)
        return kUnbounded;
    return bytes * packing->pixels_of_byte;
}

int64_t most_pixels_in(AVCodecID codec, AVIOContext* source) {
    return source != nullptr && packing_of(codec) != nullptr ? most_pixels_in(codec, avio_size(source)) : kUnbounded;
}

}  // namespace qmio::ffmpeg
