// A picture in memory as libswscale takes it: planes, line sizes, size and format.
#pragma once

#include <array>
#include <cstdint>

#include "ffmpeg/ffmpeg.h"
#include "ffmpeg/owners.h"

namespace qmio::ffmpeg {

// Somebody else owns the memory.
struct Picture {
    std::array<uint8_t*, 4> data{};
    std::array<int, 4> line_size{};  // bytes; negative in a picture that is stored from the bottom up
    int width = 0;                   // pixels
    int height = 0;                  // rows
    AVPixelFormat format = AV_PIX_FMT_NONE;
    // Bytes behind the last pixel of every plane that may be read though they mean nothing; asked of sources alone.
    int64_t readable_behind = 0;
    // What YUV means as RGB, asked of sources alone; what is unspecified stays as libswscale has it.
    AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
    AVColorRange range = AVCOL_RANGE_UNSPECIFIED;

    bool valid() const { return data[0] != nullptr; }
    int planes() const;
};

// Lays a picture out in one block of av_image_get_buffer_size(format, width, height, alignment) bytes, planes one
// behind the other, rows aligned to `alignment` bytes, a power of two. Not valid() when the block is null or there is
// no such layout: unknown and hardware formats, sizes below 1 or too large.
Picture picture_in_block(const void* block, AVPixelFormat format, int width, int height, int alignment);

// The picture that a frame holds; not valid() when it holds none.
Picture picture_in_frame(const AVFrame& frame);

// Bytes of memory that stay taken while somebody refers to the frame's picture; 0 for one on hardware and for one that
// cannot be shared.
int64_t memory_of(const AVFrame& frame);

// Copies the pixels, and the palette where there is one, between pictures of one format and size.
void copy_picture(const Picture& target, const Picture& source);

// Makes `frame` hold an aligned picture of this format and size with spare bytes behind every plane, or keeps the one
// it holds. False when there is no memory. A null `frame` is allocated.
bool prepare_aligned(FramePtr& frame, AVPixelFormat format, int width, int height);

// A copy of `source` in memory of its own whose right and lower edges are repeated beyond the picture, so that what
// libswscale reads there are the colours of the edge. The copy's size is `width` x `height`, at least the source's.
// Null when there is no memory.
FramePtr extended_copy(const Picture& source, int width, int height);

}  // namespace qmio::ffmpeg
