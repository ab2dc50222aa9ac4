// FFmpeg calls handed on to hosts that do not link FFmpeg; only pixel-format numbers are translated.
#include "core/handle/entry.h"
#include "ffmpeg/pixel_format.h"
#include "ffmpeg/scaler.h"
#include "qmio.h"

namespace {

using qmio::ffmpeg::Picture;
using qmio::ffmpeg::pixel_format_from_interface;

Picture picture_of_size(int width, int height, int fmt) {
    return Picture{.width = width, .height = height, .format = pixel_format_from_interface(fmt)};
}

bool is_plane(const AVFrame* frame, int plane) {
    return frame != nullptr && plane >= 0 && plane < AV_NUM_DATA_POINTERS;
}

}  // namespace

int qmio_image_fill_arrays(uint8_t* dst_data[4], int dst_linesize[4], const uint8_t* src, int fmt, int width,
                           int height, int align) {
    if (dst_data == nullptr || dst_linesize == nullptr)
        return AVERROR(EINVAL);
    return qmio::guarded(AVERROR(EINVAL), [&] {
        return av_image_fill_arrays(dst_data, dst_linesize, src, pixel_format_from_interface(fmt), width, height,
                                    align);
    });
}

SwsContext* qmio_sws_getContext(int src_w, int src_h, int src_fmt, int dst_w, int dst_h, int dst_fmt, int flags,
                                SwsFilter* src_filter, SwsFilter* dst_filter, const double* param) {
    return qmio::guarded(static_cast<SwsContext*>(nullptr), [&] {
        return qmio::ffmpeg::make_scaler(picture_of_size(src_w, src_h, src_fmt), picture_of_size(dst_w, dst_h, dst_fmt),
                                         flags, src_filter, dst_filter, param)
            .release();
    });
}

int qmio_sws_scale(SwsContext* ctx, const uint8_t* const src[], const int src_stride[], int y, int height,
                   uint8_t* const dst[], const int dst_stride[]) {
    if (ctx == nullptr || src == nullptr || src_stride == nullptr || dst == nullptr || dst_stride == nullptr)
        return 0;
    return sws_scale(ctx, src, src_stride, y, height, dst, dst_stride);
}

void qmio_sws_freeContext(SwsContext* ctx) {
    sws_freeContext(ctx);
}

uint8_t* qmio_get_frm_data(AVFrame* frame, int plane) {
    return is_plane(frame, plane) ? frame->data[plane] : nullptr;
}

int qmio_get_frm_linesize(AVFrame* frame, int plane) {
    return is_plane(frame, plane) ? frame->linesize[plane] : 0;
}

int qmio_get_frm_format(AVFrame* frame) {
    if (frame == nullptr)
        return -1;
    // A frame of sound carries a sample format, which is no pixel format to translate.
    if (frame->nb_samples > 0)
        return frame->format;
    return qmio::guarded(-1, [&] { return qmio::ffmpeg::pixel_format_to_interface(frame->format); });
}
