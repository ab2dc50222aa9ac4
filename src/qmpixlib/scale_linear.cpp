#include "qmpixlib/scale_linear.h"

#include <libyuv/scale_argb.h>

#include <climits>
#include <cstdint>

namespace qmio {

namespace {

constexpr int kPixelBytes = 4;

// What a line size can hold in bytes.
bool is_pitch(int pixels) {
    return pixels >= INT_MIN / kPixelBytes && pixels <= INT_MAX / kPixelBytes;
}

}  // namespace

bool qm_scale_linear(void* dst, int dst_width, int dst_height, int dst_pitch, const void* src, int src_width,
                     int src_height, int src_pitch) {
    if (dst == nullptr || src == nullptr || dst_width < 1 || dst_height < 1 || src_width < 1 || src_height < 1)
        return false;
    if (!is_pitch(dst_pitch) || !is_pitch(src_pitch))
        return false;
    const int result = libyuv::ARGBScale(static_cast<const uint8_t*>(src), src_pitch * kPixelBytes, src_width,
                                         src_height, static_cast<uint8_t*>(dst), dst_pitch * kPixelBytes, dst_width,
                                         dst_height, libyuv::kFilterBilinear);
    return result == 0;
}

}  // namespace qmio
