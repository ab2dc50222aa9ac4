#include "ffmpeg/picture.h"

#include <algorithm>
#include <cstring>

namespace qmio::ffmpeg {

namespace {

constexpr int kAlignment = 64;  // of lines, the widest vector that libswscale writes

// What extended_copy adds beyond the asked size: libswscale reads ahead by less than this.
constexpr int kExtraColumns = 32;
constexpr int kExtraRows = 4;

int plane_rows(const Picture& picture, int plane) {
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(picture.format);
    const bool chroma = plane == 1 || plane == 2;
    return chroma ? AV_CEIL_RSHIFT(picture.height, descriptor->log2_chroma_h) : picture.height;
}

bool is_palette(AVPixelFormat format, int plane) {
    return plane == 1 && (av_pix_fmt_desc_get(format)->flags & AV_PIX_FMT_FLAG_PAL) != 0;
}

// One past the last byte that belongs to a plane's pixels.
const uint8_t* plane_end(const Picture& picture, int plane) {
    const uint8_t* lowest = picture.data[static_cast<size_t>(plane)];
    if (is_palette(picture.format, plane))
        return lowest + AVPALETTE_SIZE;
    const ptrdiff_t line = picture.line_size[static_cast<size_t>(plane)];
    if (line > 0)
        lowest += line * (plane_rows(picture, plane) - 1);
    return lowest + av_image_get_linesize(picture.format, picture.width, plane);
}

int64_t readable_behind_planes(const AVFrame& frame, const Picture& picture) {
    int64_t least = kAlignment;
    for (int plane = 0; plane < picture.planes(); ++plane) {
        // Only looks, but takes a pointer to a frame that it may change.
        const AVBufferRef* buffer = av_frame_get_plane_buffer(const_cast<AVFrame*>(&frame), plane);
        if (buffer == nullptr)
            return 0;
        least = std::min<int64_t>(least, buffer->data + buffer->size - plane_end(picture, plane));
    }
    return std::max<int64_t>(least, 0);
}

// Bytes after which a plane's pixel pattern repeats.
int pattern_bytes(const AVPixFmtDescriptor& descriptor, int plane) {
    if ((descriptor.flags & AV_PIX_FMT_FLAG_BITSTREAM) != 0)
        return 1;
    int step = 1;
    for (int component = 0; component < descriptor.nb_components; ++component)
        if (descriptor.comp[component].plane == plane)
            step = std::max(step, descriptor.comp[component].step);
    // A Bayer mosaic repeats every second pixel and every second row.
    return (descriptor.flags & AV_PIX_FMT_FLAG_BAYER) != 0 ? 2 * step : step;
}

void extend_plane(const AVFrame& copy, const Picture& source, int plane) {
    const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(source.format);
    const int line = copy.linesize[plane];
    const int used = av_image_get_linesize(source.format, source.width, plane);
    const int pattern = pattern_bytes(descriptor, plane);
    const int rows = plane_rows(source, plane);
    const int all_rows = plane_rows(picture_in_frame(copy), plane);
    for (int row = 0; row < rows; ++row) {
        uint8_t* pixels = copy.data[plane] + static_cast<ptrdiff_t>(row) * line;
        for (int byte = used; byte < line; ++byte)
            pixels[byte] = byte >= pattern ? pixels[byte - pattern] : uint8_t{0};
    }
    const int row_pattern = (descriptor.flags & AV_PIX_FMT_FLAG_BAYER) != 0 && rows > 1 ? 2 : 1;
    for (int row = rows; row < all_rows; ++row) {
        uint8_t* pixels = copy.data[plane] + static_cast<ptrdiff_t>(row) * line;
        std::memcpy(pixels, pixels - static_cast<ptrdiff_t>(row_pattern) * line, static_cast<size_t>(line));
    }
}

}  // namespace

int Picture::planes() const {
    int count = 0;
    while (count < 4 && data[static_cast<size_t>(count)] != nullptr)
        ++count;
    return count;
}

Picture picture_in_block(const void* block, AVPixelFormat format, int width, int height, int alignment) {
    Picture picture{.width = width, .height = height, .format = format};
    const bool power_of_two = alignment > 0 && (alignment & (alignment - 1)) == 0;
    if (block == nullptr || !power_of_two || av_image_get_buffer_size(format, width, height, alignment) <= 0)
        return picture;
    if (av_image_fill_arrays(picture.data.data(), picture.line_size.data(), static_cast<const uint8_t*>(block), format,
                             width, height, alignment) <= 0)
        picture.data.fill(nullptr);
    return picture;
}

Picture picture_in_frame(const AVFrame& frame) {
    Picture picture{.width = frame.width, .height = frame.height, .format = static_cast<AVPixelFormat>(frame.format)};
    const AVPixFmtDescriptor* descriptor = av_pix_fmt_desc_get(picture.format);
    if (descriptor == nullptr || (descriptor->flags & AV_PIX_FMT_FLAG_HWACCEL) != 0 || frame.width < 1 ||
        frame.height < 1)
        return picture;
    std::copy_n(frame.data, 4, picture.data.begin());
    std::copy_n(frame.linesize, 4, picture.line_size.begin());
    picture.readable_behind = picture.valid() ? readable_behind_planes(frame, picture) : 0;
    return picture;
}

int64_t memory_of(const AVFrame& frame) {
    if (frame.hw_frames_ctx != nullptr)
        return 0;
    int64_t bytes = 0;
    for (const AVBufferRef* const buffer : frame.buf)
        bytes += buffer != nullptr ? static_cast<int64_t>(buffer->size) : 0;
    return bytes;
}

void copy_picture(const Picture& target, const Picture& source) {
    std::array<uint8_t*, 4> to = target.data;
    std::array<int, 4> to_lines = target.line_size;
    std::array<const uint8_t*, 4> from{};
    std::copy(source.data.begin(), source.data.end(), from.begin());
    av_image_copy(to.data(), to_lines.data(), from.data(), source.line_size.data(), source.format, source.width,
                  source.height);
}

bool prepare_aligned(FramePtr& frame, AVPixelFormat format, int width, int height) {
    if (frame == nullptr)
        frame.reset(av_frame_alloc());
    if (frame == nullptr)
        return false;
    if (frame->data[0] != nullptr && frame->format == format && frame->width == width && frame->height == height)
        return true;
    av_frame_unref(frame.get());
    frame->format = format;
    frame->width = width;
    frame->height = height;
    return av_frame_get_buffer(frame.get(), kAlignment) >= 0;
}

FramePtr extended_copy(const Picture& source, int width, int height) {
    FramePtr copy;
    if (!prepare_aligned(copy, source.format, width + kExtraColumns, height + kExtraRows))
        return nullptr;
    Picture inside = picture_in_frame(*copy);
    copy_picture(inside, source);
    for (int plane = 0; plane < inside.planes(); ++plane)
        if (!is_palette(source.format, plane))
            extend_plane(*copy, source, plane);
    copy->width = width;
    copy->height = height;
    return copy;
}

}  // namespace qmio::ffmpeg
