// The exported conversions: on picture records, and on bare buffers, for which records are made.
#include <algorithm>

#include "core/handle/entry.h"
#include "core/process/settings.h"
#include "picture/convert.h"
#include "qmio.h"

namespace {

int convert(imio_picture* dst, const imio_picture* src, int algorithm) noexcept {
    return qmio::guarded(0, [&] { return qmio::convert_picture(dst, src, algorithm); });
}

int configured_algorithm() {
    return qmio::settings().scale_algorithm;
}

}  // namespace

int imio_cvt(imio_picture* dst, const imio_picture* src) {
    return convert(dst, src, configured_algorithm());
}

int imio_scale(imio_picture* dst, const imio_picture* src) {
    return convert(dst, src, configured_algorithm());
}

int imio_scale_ex(imio_picture* dst, const imio_picture* src, int algorithm) {
    return convert(dst, src, algorithm);
}

int qmio_cvt(void* dst, int dst_fmt, const void* src, int src_fmt, int width, int height) {
    // Never the linear scaler: 0 counts as 1 here.
    return qmio_scale_ex(dst, dst_fmt, width, height, src, src_fmt, width, height, std::max(configured_algorithm(), 1));
}

int qmio_scale(void* dst, int dst_fmt, int dst_width, int dst_height, const void* src, int src_fmt, int src_width,
               int src_height) {
    return qmio_scale_ex(dst, dst_fmt, dst_width, dst_height, src, src_fmt, src_width, src_height,
                         configured_algorithm());
}

int qmio_scale_ex(void* dst, int dst_fmt, int dst_width, int dst_height, const void* src, int src_fmt, int src_width,
                  int src_height, int algorithm) {
    imio_picture target = qmio::picture_record(dst, dst_fmt, dst_width, dst_height);
    const imio_picture source = qmio::picture_record(src, src_fmt, src_width, src_height);
    return convert(&target, &source, algorithm);
}

int qmio_scale_slice(void* dst, int dst_fmt, int dst_width, int dst_height, const void* src, int src_fmt, int src_width,
                     int src_height) {
    return qmio_scale(dst, dst_fmt, dst_width, dst_height, src, src_fmt, src_width, src_height);
}
