#include "ffmpeg/scaler.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "ffmpeg/pixel_format.h"

namespace qmio::ffmpeg {

namespace {

// Lines of whole vectors: no store reaches beyond a line. At line sizes of 32 some conversions still write past it.
constexpr int kLineAlignment = 64;
// NV12 to YUV420P stores aligned vectors whatever pointers it was given.
constexpr uintptr_t kPlaneAlignment = 16;
// YUV is converted to RGB in groups of so many columns.
constexpr int kColumnGroup = 16;
// The farthest that any input format is read past its last pixel.
constexpr int64_t kReadAhead = 64;

bool is_one_of(AVPixelFormat format, std::initializer_list<AVPixelFormat> formats) {
    return std::find(formats.begin(), formats.end(), format) != formats.end();
}

bool is_xyz(AVPixelFormat format) {
    return format == AV_PIX_FMT_XYZ12LE || format == AV_PIX_FMT_XYZ12BE;
}

bool is_rgb(AVPixelFormat format) {
    const bool bits = format == AV_PIX_FMT_MONOWHITE || format == AV_PIX_FMT_MONOBLACK;
    // libswscale counts bits in, and makes RGB of XYZ before anything else.
    return bits || is_xyz(format) || (av_pix_fmt_desc_get(format)->flags & AV_PIX_FMT_FLAG_RGB) != 0;
}

bool is_alpha_first(AVPixelFormat format) {
    return is_one_of(format, {AV_PIX_FMT_ARGB, AV_PIX_FMT_ABGR, AV_PIX_FMT_0RGB, AV_PIX_FMT_0BGR});
}

bool same_size(const Picture& left, const Picture& right) {
    return left.width == right.width && left.height == right.height;
}

bool is_aligned(const Picture& picture) {
    for (size_t plane = 0; plane < static_cast<size_t>(picture.planes()); ++plane)
        if (picture.line_size[plane] % kLineAlignment != 0 ||
            reinterpret_cast<uintptr_t>(picture.data[plane]) % kPlaneAlignment != 0)
            return false;
    return true;
}

// A line of whole vectors need not have room for whole groups: sixteen pixels of three bytes are 48 bytes.
bool has_room_for_groups(const Picture& picture) {
    const int columns = FFALIGN(picture.width, kColumnGroup);
    for (int plane = 0; plane < picture.planes(); ++plane)
        if (picture.line_size[static_cast<size_t>(plane)] < av_image_get_linesize(picture.format, columns, plane))
            return false;
    return true;
}

// Width of the target's chroma planes inside libswscale, which halves them for RGB of even width.
int chroma_width(const Picture& target) {
    if (is_rgb(target.format))
        return target.width % 2 != 0 ? target.width : target.width / 2;
    return AV_CEIL_RSHIFT(target.width, av_pix_fmt_desc_get(target.format)->log2_chroma_w);
}

// The step of fast bilinear filtering is computed by dividing by these widths less two.
int survivable_flags(const Picture& target, int flags) {
    const bool divides_by_zero = target.width == 2 || chroma_width(target) == 2;
    if ((flags & SWS_FAST_BILINEAR) == 0 || !divides_by_zero)
        return flags;
    return (flags & ~SWS_FAST_BILINEAR) | SWS_BILINEAR;
}

// 4:2:0 and 4:2:2 in an even height become RGB of the same size through tables, two rows at a time.
bool uses_tables(const Picture& source, const Picture& target, int flags) {
    if (!same_size(source, target) || target.height % 2 != 0 || (flags & (SWS_ACCURATE_RND | SWS_ERROR_DIFFUSION)) != 0)
        return false;
    return is_one_of(source.format, {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUVA420P, AV_PIX_FMT_YUV422P,
                                     AV_PIX_FMT_YUVJ422P}) &&
           is_one_of(target.format, {AV_PIX_FMT_BGRA,     AV_PIX_FMT_RGBA,     AV_PIX_FMT_BGR0,     AV_PIX_FMT_RGB0,
                                     AV_PIX_FMT_BGR24,    AV_PIX_FMT_RGB24,    AV_PIX_FMT_RGB565LE, AV_PIX_FMT_RGB555LE,
                                     AV_PIX_FMT_ARGB,     AV_PIX_FMT_ABGR,     AV_PIX_FMT_0RGB,     AV_PIX_FMT_0BGR,
                                     AV_PIX_FMT_BGR565LE, AV_PIX_FMT_BGR555LE, AV_PIX_FMT_RGB444LE, AV_PIX_FMT_BGR444LE,
                                     AV_PIX_FMT_RGB48LE,  AV_PIX_FMT_RGB48BE,  AV_PIX_FMT_BGR48LE,  AV_PIX_FMT_BGR48BE,
                                     AV_PIX_FMT_XYZ12LE,  AV_PIX_FMT_XYZ12BE,  AV_PIX_FMT_RGB4,     AV_PIX_FMT_BGR4,
                                     AV_PIX_FMT_MONOBLACK});
}

// Most tables go by pairs of columns; in libswscale 8 that for one bit per pixel, too.
bool writes_columns_in_eights(AVPixelFormat target) {
    if (target == AV_PIX_FMT_MONOBLACK)
        return LIBSWSCALE_VERSION_MAJOR < 8;
    return is_one_of(target, {AV_PIX_FMT_RGB565LE, AV_PIX_FMT_RGB555LE, AV_PIX_FMT_BGR565LE, AV_PIX_FMT_BGR555LE,
                              AV_PIX_FMT_RGB444LE, AV_PIX_FMT_BGR444LE});
}

// Planar colours become semi-planar or packed ones by pairs of columns.
bool pairs_columns(const Picture& source, const Picture& target, int flags) {
    if (is_one_of(target.format, {AV_PIX_FMT_P010LE, AV_PIX_FMT_P016LE}))
        return is_one_of(source.format, {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_YUV420P12LE,
                                         AV_PIX_FMT_YUV420P14LE, AV_PIX_FMT_YUV420P16LE, AV_PIX_FMT_YUVA420P,
                                         AV_PIX_FMT_YUVA420P10LE, AV_PIX_FMT_YUVA420P16LE});
    if (!is_one_of(target.format, {AV_PIX_FMT_YUYV422, AV_PIX_FMT_UYVY422}))
        return false;
    const bool fast = (flags & SWS_POINT) != 0 || ((flags & SWS_FAST_BILINEAR) != 0 && target.width >= 8);
    return source.format == AV_PIX_FMT_YUV422P ||
           (fast && is_one_of(source.format, {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVA420P}));
}

// How many columns the converters that leave the rest out write at a time; 1 for all others.
int columns_at_a_time(const Picture& source, const Picture& target, int flags) {
    if (uses_tables(source, target, flags))
        return writes_columns_in_eights(target.format) ? 8 : 2;
    return pairs_columns(source, target, flags) ? 2 : 1;
}

// These converters take two rows at a time and leave the last row of chroma out where the height is odd.
bool leaves_chroma_row_out(AVPixelFormat source, AVPixelFormat target) {
    return is_one_of(source, {AV_PIX_FMT_YUYV422, AV_PIX_FMT_UYVY422}) &&
           is_one_of(target, {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVA420P});
}

// Whole vectors in every line are not enough for these: three bytes per pixel are read as four, alpha-first formats as
// alpha-last ones one byte further on, and fast bilinear filtering takes one sample more than there is of formats whose
// lines it reads unconverted.
bool reads_past_lines(const Picture& source, const Picture& target, int flags) {
    if (is_one_of(source.format, {AV_PIX_FMT_RGB24, AV_PIX_FMT_BGR24}) || is_alpha_first(source.format))
        return true;
    return (flags & SWS_FAST_BILINEAR) != 0 && !is_rgb(source.format) && !uses_tables(source, target, flags);
}

// What is gray has its range by its format.
bool becomes_rgb(const Picture& source, const Picture& target) {
    return !is_rgb(source.format) && av_pix_fmt_desc_get(source.format)->nb_components > 2 && is_rgb(target.format);
}

bool has_coefficients(AVColorSpace matrix) {
    switch (matrix) {
        case AVCOL_SPC_BT709:
        case AVCOL_SPC_FCC:
        case AVCOL_SPC_BT470BG:
        case AVCOL_SPC_SMPTE170M:
        case AVCOL_SPC_SMPTE240M:
        case AVCOL_SPC_BT2020_NCL:
        case AVCOL_SPC_BT2020_CL:
            return true;
        default:
            return false;
    }
}

// libswscale numbers its matrices as libavutil does.
void set_colours(SwsContext& scaler, const Picture& source) {
    int* from = nullptr;
    int* to = nullptr;
    int from_full = 0;
    int to_full = 0;
    int brightness = 0;
    int contrast = 0;
    int saturation = 0;
    if (sws_getColorspaceDetails(&scaler, &from, &from_full, &to, &to_full, &brightness, &contrast, &saturation) < 0)
        return;
    const int* const matrix = has_coefficients(source.matrix) ? sws_getCoefficients(source.matrix) : from;
    const bool full = from_full != 0 || source.range == AVCOL_RANGE_JPEG;
    sws_setColorspaceDetails(&scaler, matrix, full ? 1 : 0, to, to_full, brightness, contrast, saturation);
}

bool tells_colours(const Picture& source) {
    return has_coefficients(source.matrix) || source.range == AVCOL_RANGE_JPEG;
}

}  // namespace

ScalerPtr make_scaler(const Picture& source, const Picture& target, int flags, SwsFilter* source_filter,
                      SwsFilter* target_filter, const double* parameters) {
    if (sws_isSupportedInput(source.format) == 0 || sws_isSupportedOutput(target.format) == 0)
        return nullptr;
    ScalerPtr scaler(sws_getContext(source.width, source.height, source.format, target.width, target.height,
                                    target.format, survivable_flags(target, flags), source_filter, target_filter,
                                    parameters));
    if (scaler != nullptr && tells_colours(source) && becomes_rgb(source, target))
        set_colours(*scaler, source);
    return scaler;
}

bool can_read_in_place(const Picture& source, const Picture& target, int flags) {
    // Colours of RGB are averaged over pairs of columns, also where half a pair lies behind the edge.
    if (is_rgb(source.format) && source.width % 2 != 0)
        return false;
    // XYZ that is stored from the bottom up is not made RGB at all.
    if (is_xyz(source.format) && source.line_size[0] < 0)
        return false;
    if (source.readable_behind >= kReadAhead)
        return true;
    return is_aligned(source) && !reads_past_lines(source, target, flags);
}

bool can_write_in_place(AVPixelFormat source, const Picture& target) {
    // RGB of less than 32 bits is written to alpha-first formats as alpha-last ones, one byte further on.
    const bool narrow_rgb = is_rgb(source) && av_get_padded_bits_per_pixel(av_pix_fmt_desc_get(source)) < 32;
    return is_aligned(target) && has_room_for_groups(target) && !(is_alpha_first(target.format) && narrow_rgb);
}

PictureSize size_that_fills(const Picture& source, const Picture& target, int flags) {
    PictureSize size{target.width, target.height};
    if (!same_size(source, target))
        return size;
    size.width = FFALIGN(size.width, columns_at_a_time(source, target, flags));
    if (leaves_chroma_row_out(source.format, target.format))
        size.height = FFALIGN(size.height, 2);
    return size;
}

bool restarts_dither(AVPixelFormat target) {
    return is_one_of(target, {AV_PIX_FMT_RGB4, AV_PIX_FMT_BGR4});
}

AVPixelFormat with_alpha(AVPixelFormat format) {
    struct Pair {
        AVPixelFormat plain;
        AVPixelFormat alpha;
    };
    static constexpr std::array<Pair, 4> kPairs = {{{AV_PIX_FMT_0RGB, AV_PIX_FMT_ARGB},
                                                    {AV_PIX_FMT_0BGR, AV_PIX_FMT_ABGR},
                                                    {AV_PIX_FMT_RGB0, AV_PIX_FMT_RGBA},
                                                    {AV_PIX_FMT_BGR0, AV_PIX_FMT_BGRA}}};
    for (const Pair& pair : kPairs)
        if (pair.plain == format)
            return pair.alpha;
    return AV_PIX_FMT_NONE;
}

}  // namespace qmio::ffmpeg
