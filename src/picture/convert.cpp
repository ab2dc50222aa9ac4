#include "picture/convert.h"

#include "ffmpeg/exact_scale.h"
#include "ffmpeg/pixel_format.h"
#include "qmio.h"
#include "qmpixlib/scale_linear.h"

namespace qmio {

namespace {

// The line size tells how far the rows lie apart; neither it nor the alignment decides whether there is a picture.
bool is_picture(const imio_picture& record) {
    return ffmpeg::picture_in_block(record.data, AV_PIX_FMT_BGRA, record.width, record.height, 1).valid();
}

bool scale_by_pixel_library(imio_picture& target, const imio_picture& source) {
    return is_picture(target) && is_picture(source) &&
           qm_scale_linear(target.data, target.width, target.height, target.line_size / 4, source.data, source.width,
                           source.height, source.line_size / 4);
}

ffmpeg::Picture laid_out(const imio_picture& record) {
    return ffmpeg::picture_in_block(record.data, ffmpeg::pixel_format_from_interface(record.format), record.width,
                                    record.height, record.alignment);
}

}  // namespace

int convert_picture(imio_picture* target, const imio_picture* source, int algorithm) {
    if (target == nullptr || source == nullptr || target->data == nullptr || source->data == nullptr)
        return 0;
    if (algorithm == 0 && target->format == kLinearFormat && source->format == kLinearFormat)
        return scale_by_pixel_library(*target, *source) ? target->height : 0;
    ffmpeg::FramePtr scratch;
    const int flags = algorithm == 0 ? SWS_FAST_BILINEAR : algorithm;
    return ffmpeg::scale_exactly(laid_out(*source), laid_out(*target), flags, scratch).value_or(0);
}

imio_picture picture_record(const void* data, int32_t format, int32_t width, int32_t height) {
    imio_picture record{};
    record.format = format;
    // One record serves targets and sources; the converter writes to targets alone.
    record.data = static_cast<uint8_t*>(const_cast<void*>(data));
    record.width = width;
    record.height = height;
    // Wraps around like the 32-bit field does; sizes that large are refused by the layout.
    record.line_size = static_cast<int32_t>(static_cast<uint32_t>(width) * 4U);
    record.alignment = 1;
    return record;
}

}  // namespace qmio
