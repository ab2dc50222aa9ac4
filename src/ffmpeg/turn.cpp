#include "ffmpeg/turn.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "ffmpeg/display_rotation.h"
#include "ffmpeg/exact_scale.h"

namespace qmio::ffmpeg {

namespace {

constexpr int kTile = 32;  // pixels; columns that become rows are read tile by tile, as long as their lines are at hand

bool is_in_plane(const AVPixFmtDescriptor& format, int component, int plane) {
    return component < format.nb_components && format.comp[component].plane == plane;
}

// Bytes from sample to sample of a plane.
int sample_bytes(const AVPixFmtDescriptor& format, int plane) {
    int bytes = 1;
    for (int component = 0; component < format.nb_components; ++component)
        if (is_in_plane(format, component, plane))
            bytes = std::max(bytes, format.comp[component].step);
    return bytes;
}

// True where every plane is an array of whole samples.
bool can_turn(AVPixelFormat pixels, Turn turn) {
    const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(pixels);
    if ((format.flags & (AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BAYER)) != 0)
        return false;
    const bool subsampled = format.log2_chroma_w != 0 || format.log2_chroma_h != 0;
    if (subsampled && is_in_plane(format, 1, format.comp[0].plane))
        return false;
    return !turn.transposes || format.log2_chroma_w == format.log2_chroma_h;
}

bool is_full_range(AVPixelFormat format) {
    return format == AV_PIX_FMT_YUVJ422P || format == AV_PIX_FMT_YUVJ440P || format == AV_PIX_FMT_YUVJ411P;
}

// A format of at least the same depth in which pixels do not share colours.
AVPixelFormat whole_format(AVPixelFormat pixels) {
    const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(pixels);
    const bool deep = format.comp[0].depth > 8;
    const bool alpha = (format.flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
    const bool subsampled = format.log2_chroma_w != 0 || format.log2_chroma_h != 0;
    if (!subsampled)
        return deep ? AV_PIX_FMT_RGBA64LE : AV_PIX_FMT_RGBA;
    if (is_full_range(pixels))
        return AV_PIX_FMT_YUVJ444P;
    if (deep)
        return alpha ? AV_PIX_FMT_YUVA444P16LE : AV_PIX_FMT_YUV444P16LE;
    return alpha ? AV_PIX_FMT_YUVA444P : AV_PIX_FMT_YUV444P;
}

struct Plane {
    uint8_t* data;
    ptrdiff_t line;
    int width;   // samples
    int height;  // rows
};

Plane plane_of(const Picture& picture, int plane) {
    const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(picture.format);
    const bool chroma = (plane == 1 || plane == 2) && (format.flags & AV_PIX_FMT_FLAG_RGB) == 0;
    const int columns = chroma ? format.log2_chroma_w : 0;
    const int rows = chroma ? format.log2_chroma_h : 0;
    const auto index = static_cast<std::size_t>(plane);
    return {picture.data[index], picture.line_size[index], AV_CEIL_RSHIFT(picture.width, columns),
            AV_CEIL_RSHIFT(picture.height, rows)};
}

// Where the target's first sample lies in the source, and how far the next one to the right and below.
struct Walk {
    const uint8_t* first;
    ptrdiff_t right;
    ptrdiff_t below;
};

Walk walk_through(const Plane& source, Turn turn, ptrdiff_t bytes) {
    Walk walk{source.data, bytes, source.line};
    int columns = source.width;
    int rows = source.height;
    if (turn.transposes) {
        std::swap(walk.right, walk.below);
        std::swap(columns, rows);
    }
    if (turn.mirrors_columns) {
        walk.first += walk.right * (columns - 1);
        walk.right = -walk.right;
    }
    if (turn.mirrors_rows) {
        walk.first += walk.below * (rows - 1);
        walk.below = -walk.below;
    }
    return walk;
}

template <std::size_t kBytes>
void turn_tile(const Plane& target, const Walk& walk, int left, int top) {
    const int right = std::min(left + kTile, target.width);
    const int bottom = std::min(top + kTile, target.height);
    for (int row = top; row < bottom; ++row) {
        uint8_t* to = target.data + row * target.line + left * static_cast<ptrdiff_t>(kBytes);
        const uint8_t* from = walk.first + row * walk.below + left * walk.right;
        for (int column = left; column < right; ++column, to += kBytes, from += walk.right)
            std::memcpy(to, from, kBytes);
    }
}

template <std::size_t kBytes>
void turn_plane(const Plane& target, const Plane& source, Turn turn) {
    const Walk walk = walk_through(source, turn, kBytes);
    for (int top = 0; top < target.height; top += kTile)
        for (int left = 0; left < target.width; left += kTile)
            turn_tile<kBytes>(target, walk, left, top);
}

using TurnPlane = void (*)(const Plane& target, const Plane& source, Turn turn);

// By the bytes of a sample; null where there are no such formats.
constexpr TurnPlane kTurns[] = {nullptr,        turn_plane<1>, turn_plane<2>, turn_plane<3>, turn_plane<4>, nullptr,
                                turn_plane<6>,  nullptr,       turn_plane<8>, nullptr,       nullptr,       nullptr,
                                turn_plane<12>, nullptr,       nullptr,       nullptr,       turn_plane<16>};

TurnPlane plane_turner(AVPixelFormat format, int plane) {
    const auto bytes = static_cast<std::size_t>(sample_bytes(*av_pix_fmt_desc_get(format), plane));
    return bytes < std::size(kTurns) ? kTurns[bytes] : nullptr;
}

bool turn_planes(const Picture& target, const Picture& source, Turn turn) {
    const bool has_palette = (av_pix_fmt_desc_get(source.format)->flags & AV_PIX_FMT_FLAG_PAL) != 0;
    if (has_palette)
        std::memcpy(target.data[1], source.data[1], AVPALETTE_SIZE);
    const int planes = has_palette ? 1 : source.planes();
    for (int plane = 0; plane < planes; ++plane) {
        const TurnPlane turner = plane_turner(source.format, plane);
        if (turner == nullptr)
            return false;
        turner(plane_of(target, plane), plane_of(source, plane), turn);
    }
    return true;
}

}  // namespace

Turn turn_of(const AVStream& stream) {
    const std::optional<DisplayMatrix> matrix = display_matrix(stream);
    return matrix ? turn_of_matrix(matrix->data()) : Turn{};
}

// A point x, y is shown at x * m[0] + y * m[3], x * m[1] + y * m[4].
Turn turn_of_matrix(const int32_t* matrix) {
    const auto size = [matrix](int entry) { return std::abs(static_cast<int64_t>(matrix[entry])); };
    const bool transposes = size(1) + size(3) > size(0) + size(4);
    return {transposes, matrix[transposes ? 3 : 0] < 0, matrix[transposes ? 1 : 4] < 0};
}

Picture Turner::turn(const Picture& source, Turn turn, int flags) {
    Picture from = source;
    if (!from.valid())
        return {};
    if (!can_turn(from.format, turn)) {
        if (!prepare_aligned(whole_, whole_format(from.format), from.width, from.height))
            return {};
        from = picture_in_frame(*whole_);
        if (scale_exactly(source, from, flags, scratch_).value_or(0) < 1)
            return {};
    }
    const int width = turn.transposes ? from.height : from.width;
    const int height = turn.transposes ? from.width : from.height;
    if (!prepare_aligned(turned_, from.format, width, height))
        return {};
    Picture turned = picture_in_frame(*turned_);
    if (!turn_planes(turned, from, turn))
        return {};
    turned.matrix = source.matrix;
    turned.range = source.range;
    return turned;
}

}  // namespace qmio::ffmpeg
