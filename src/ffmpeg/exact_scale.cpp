#include "ffmpeg/exact_scale.h"

#include <algorithm>

#include "ffmpeg/pixel_format.h"
#include "ffmpeg/scaler.h"

namespace qmio::ffmpeg {

namespace {

int scale(const Picture& source, const Picture& target, SwsContext* scaler) {
    std::array<const uint8_t*, 4> from{};
    std::copy(source.data.begin(), source.data.end(), from.begin());
    return std::max(0, sws_scale(scaler, from.data(), source.line_size.data(), 0, source.height, target.data.data(),
                                 target.line_size.data()));
}

// The same pixels under the format's alpha form; the unused byte becomes an opaque alpha, as libswscale would have it.
Picture made_opaque(Picture picture) {
    const AVPixelFormat format = with_alpha(picture.format);
    const int alpha = av_pix_fmt_desc_get(format)->comp[3].offset;
    for (int row = 0; row < picture.height; ++row) {
        uint8_t* line = picture.data[0] + static_cast<ptrdiff_t>(row) * picture.line_size[0];
        for (int byte = alpha; byte < picture.line_size[0]; byte += 4)
            line[byte] = 0xFF;
    }
    picture.format = format;
    return picture;
}

// The source itself where it can be read as it is, else a copy kept in `copy`. Not valid() when there is no memory.
Picture readable_source(const Picture& source, const Picture& target, int flags, PictureSize size, FramePtr& copy) {
    if (size == PictureSize{source.width, source.height} && can_read_in_place(source, target, flags))
        return source;
    copy = extended_copy(source, size.width, size.height);
    if (copy == nullptr)
        return {};
    Picture picture = picture_in_frame(*copy);
    picture.matrix = source.matrix;
    picture.range = source.range;
    const bool needs_alpha = with_alpha(source.format) != AV_PIX_FMT_NONE && has_alpha(target.format);
    return needs_alpha ? made_opaque(picture) : picture;
}

// Picture of the same planes in another size.
Picture resized(Picture picture, PictureSize size) {
    picture.width = size.width;
    picture.height = size.height;
    return picture;
}

// Converts into a picture of `size` and hands the target's part of it over.
int scale_through_scratch(const Picture& source, const Picture& target, PictureSize size, SwsContext* scaler,
                          FramePtr& scratch, int flags) {
    if (!prepare_aligned(scratch, target.format, size.width, size.height))
        return 0;
    const PictureSize own_size{target.width, target.height};
    const Picture enlarged = picture_in_frame(*scratch);
    const Picture written = resized(enlarged, own_size);
    const int rows = std::min(scale(source, enlarged, scaler), target.height);
    if (rows > 0 && size != own_size && restarts_dither(target.format)) {
        const Picture original = resized(source, own_size);
        if (const ScalerPtr own_scaler = make_scaler(original, written, flags))
            scale(original, written, own_scaler.get());
    }
    if (rows > 0)
        copy_picture(target, written);
    return rows;
}

bool is_plain_copy(const Picture& source, const Picture& target) {
    return source.format == target.format && source.width == target.width && source.height == target.height;
}

}  // namespace

std::optional<int> scale_exactly(const Picture& source, const Picture& target, int flags, FramePtr& scratch) {
    if (!source.valid() || !target.valid())
        return std::nullopt;
    const PictureSize size = size_that_fills(source, target, flags);
    const bool enlarged = size != PictureSize{target.width, target.height};
    FramePtr copy;
    const bool plain_copy = is_plain_copy(source, target);
    const PictureSize source_size = enlarged ? size : PictureSize{source.width, source.height};
    const Picture from = plain_copy ? source : readable_source(source, target, flags, source_size, copy);
    const Picture to = resized(target, size);
    if (!from.valid())
        return 0;
    // Made and freed for every picture: no call depends on another.
    const ScalerPtr scaler = make_scaler(from, to, flags);
    if (scaler == nullptr)
        return std::nullopt;
    if (plain_copy) {
        // libswscale copies float planes by a quarter and forgets the chroma of semi-planar formats.
        copy_picture(target, source);
        return target.height;
    }
    if (!enlarged && can_write_in_place(from.format, target))
        return scale(from, target, scaler.get());
    return scale_through_scratch(from, target, size, scaler.get(), scratch, flags);
}

}  // namespace qmio::ffmpeg
