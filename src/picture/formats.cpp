// Questions about pixel formats, and bands of planar pictures.
#include "core/handle/entry.h"
#include "core/process/trace.h"
#include "ffmpeg/pixel_format.h"
#include "qmio.h"

namespace {

using qmio::ffmpeg::pixel_format_from_interface;

const AVPixFmtDescriptor* descriptor_of(int number) {
    return av_pix_fmt_desc_get(pixel_format_from_interface(number));
}

// The offset of a row as the 32-bit product that it is defined to be, wrapped around where it does not fit.
ptrdiff_t row_offset(int32_t row, int32_t line_size) {
    return static_cast<int32_t>(static_cast<uint32_t>(row) * static_cast<uint32_t>(line_size));
}

// A null source plane makes the target's null and leaves its line size as it was: a host that set it
// finds it there.
void move_plane(qmio_planes& dst, const qmio_planes& src, int plane, int32_t row) {
    uint8_t* data = src.data[plane];
    const int32_t line_size = src.linesize[plane];
    dst.data[plane] = data;
    if (data == nullptr)
        return;
    dst.data[plane] = data + row_offset(row, line_size);
    dst.linesize[plane] = line_size;
}

// Row y of the picture as a row of chroma, rounded up.
int32_t chroma_row(int32_t y, uint32_t log2_chroma_h) {
    const uint32_t shift = log2_chroma_h & 31U;
    return static_cast<int32_t>(static_cast<uint32_t>(y) + (1U << shift) - 1U) >> shift;
}

// FFmpeg no longer marks the formats that used to carry a palette which they do not need; they still do not slice.
bool had_pseudo_palette(AVPixelFormat format) {
    switch (format) {
        case AV_PIX_FMT_GRAY8:
        case AV_PIX_FMT_RGB8:
        case AV_PIX_FMT_BGR8:
        case AV_PIX_FMT_RGB4_BYTE:
        case AV_PIX_FMT_BGR4_BYTE:
            return true;
        default:
            return false;
    }
}

int probe_conversion(int dst_fmt, int src_fmt) {
    constexpr int kAny = -1;
    const AVPixelFormat target = pixel_format_from_interface(dst_fmt);
    const AVPixelFormat source = pixel_format_from_interface(src_fmt);
    if (src_fmt == kAny)
        return sws_isSupportedOutput(target);
    if (dst_fmt == kAny)
        return sws_isSupportedInput(source);
    return sws_isSupportedOutput(target) != 0 && sws_isSupportedInput(source) != 0 ? 1 : 0;
}

}  // namespace

void qmio_surf_slice(int fmt, qmio_planes* dst, const qmio_planes* src, int y) {
    if (dst == nullptr || src == nullptr)
        return;
    qmio::guarded(0, [&] {
        const AVPixFmtDescriptor* descriptor = descriptor_of(fmt);
        if (descriptor == nullptr) {
            qmio::report(L"qmio_surf_slice", L"error: cant get pixel descr for fmt %d\n", fmt);
            return 0;
        }
        const int32_t chroma = chroma_row(y, descriptor->log2_chroma_h);
        move_plane(*dst, *src, 0, y);
        move_plane(*dst, *src, 1, chroma);
        move_plane(*dst, *src, 2, chroma);
        move_plane(*dst, *src, 3, y);
        return 0;
    });
}

int qmio_is_sliceable(int fmt) {
    return qmio::guarded(0, [&] {
        const AVPixFmtDescriptor* descriptor = descriptor_of(fmt);
        if (descriptor == nullptr || had_pseudo_palette(pixel_format_from_interface(fmt)))
            return 0;
        return (descriptor->flags & (AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_HWACCEL)) == 0 ? 1 : 0;
    });
}

int qmio_probe_cvt(int dst_fmt, int src_fmt) {
    return qmio::guarded(0, [&] { return probe_conversion(dst_fmt, src_fmt); });
}

int qmio_fmtid(const char* name) {
    return qmio::ffmpeg::interface_pixel_format_number(name);
}
