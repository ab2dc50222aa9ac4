#include "read/deliver.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "core/handle/entry.h"
#include "core/process/settings.h"
#include "core/process/trace.h"
#include "ffmpeg/exact_scale.h"
#include "ffmpeg/pixel_format.h"

namespace qmio::read {

namespace {

constexpr const wchar_t* kTag = L"dec_get_buf";
constexpr int kBytesPerPixel = 4;
constexpr uint32_t kOpaque = 0xFF000000U;

uint32_t load_word(const uint8_t* at) {
    uint32_t word = 0;
    std::memcpy(&word, at, sizeof word);
    return word;
}

// Makes every pixel opaque, taking the alpha to be the top byte of a 32-bit word, in every target format alike.
// Formats of another shape are not written past their end.
void fill_opaque_alpha(const imio_picture& picture, int64_t size) {
    trace(TraceSwitch::read, kTag, L"add opaque alpha\n");
    for (int64_t row = 0; row < picture.height; ++row) {
        int64_t offset = row * picture.line_size;
        for (int column = 0; column < picture.width; ++column, offset += kBytesPerPixel) {
            if (offset < 0 || offset + kBytesPerPixel > size)
                break;
            uint8_t* const pixel = picture.data + offset;
            const uint32_t word = load_word(pixel) | kOpaque;
            std::memcpy(pixel, &word, sizeof word);
        }
    }
}

bool lacks_alpha(const Source& source, const imio_picture& picture, int64_t size) {
    if (ffmpeg::has_alpha(source.reading.pFrame->format) || !ffmpeg::has_alpha(source.video.dst_pix_fmt))
        return false;
    return size >= kBytesPerPixel && (load_word(picture.data) & kOpaque) != kOpaque;
}

// The scaler is made for every picture and freed at once; nothing is kept but the room for pictures that it cannot
// write in place.
int convert(Source& source, const ffmpeg::Picture& target) {
    const int algorithm = std::max(settings().scale_algorithm, 1);
    const std::optional<int> rows = ffmpeg::scale_exactly(ffmpeg::picture_in_frame(*source.reading.pFrame), target,
                                                          algorithm, source.reading.scratch);
    if (rows)
        trace(TraceSwitch::read, kTag, L"\tframe %d: cvt to user pixfmt res %d\n", source.video.want_frame, *rows);
    else
        trace(TraceSwitch::read, kTag, L"[%S] error get cvt context\n", source.name);
    return rows.value_or(0);
}

}  // namespace

imio_picture plain_buffer(const Video& video, uint8_t* buffer) {
    imio_picture picture{};
    picture.format = ffmpeg::pixel_format_to_interface(video.dst_pix_fmt);
    picture.data = buffer;
    picture.width = video.width;
    picture.height = video.height;
    picture.line_size = video.width * kBytesPerPixel;
    picture.alignment = 1;
    // Formats that need more do not fit such a buffer: a picture without a size is not converted.
    if (av_image_get_buffer_size(video.dst_pix_fmt, picture.width, picture.height, 1) >
        int64_t{picture.line_size} * picture.height)
        picture.width = picture.height = 0;
    return picture;
}

int convert_held_picture(Source& source, imio_picture* picture) {
    Reading& reading = source.reading;
    const AVPixelFormat format = source.video.dst_pix_fmt;
    if (picture == nullptr)
        return -1;
    if (picture->data == nullptr)
        return 1;
    if (source.video.codec == nullptr || reading.pFrame == nullptr || reading.pFrameRGB == nullptr)
        return -1;
    reading.pFrameRGB->format = format;
    const ffmpeg::Picture target =
        ffmpeg::picture_in_block(picture->data, format, picture->width, picture->height, picture->alignment);
    const int rows = convert(source, target);
    const int size = av_image_get_buffer_size(format, picture->width, picture->height, picture->alignment);
    if (rows > 0 && lacks_alpha(source, *picture, size))
        fill_opaque_alpha(*picture, size);
    return rows;
}

}  // namespace qmio::read

using namespace qmio;

int qmio_set_dst_fmt(MediaHandle* h, int pix_fmt) {
    return with_handle(h, 0, 0, [=](MediaHandle& handle) {
        handle.video.dst_pix_fmt = ffmpeg::pixel_format_from_interface(pix_fmt);
        return 1;
    });
}
