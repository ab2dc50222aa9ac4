#include "read/deliver.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "core/handle/entry.h"
#include "core/process/settings.h"
#include "core/process/trace.h"
#include "core/process/why.h"
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

// How much memory the host's record promises: the block of the picture, and where line_size says that rows which hold
// the words lie further apart, all of those rows. What a host gives for formats of fewer bytes promises nothing.
int64_t promised_bytes(const imio_picture& picture, const ffmpeg::Picture& target) {
    const int64_t block = av_image_get_buffer_size(target.format, target.width, target.height, picture.alignment);
    const int64_t row = target.line_size[0];
    const bool further_apart = picture.line_size > row && row >= int64_t{picture.width} * kBytesPerPixel;
    return further_apart ? std::max(block, int64_t{picture.line_size} * picture.height) : block;
}

// Makes every pixel opaque, taking the alpha to be the top byte of a 32-bit word, in every target format alike. Rows
// lie line_size bytes apart, wherever the conversion put them. Nothing is written that the host did not promise.
void fill_opaque_alpha(const imio_picture& picture, int64_t promised) {
    trace(TraceSwitch::read, kTag, L"add opaque alpha\n");
    for (int64_t row = 0; row < picture.height; ++row) {
        int64_t offset = row * picture.line_size;
        for (int column = 0; column < picture.width; ++column, offset += kBytesPerPixel) {
            if (offset < 0 || offset + kBytesPerPixel > promised)
                break;
            uint8_t* const pixel = picture.data + offset;
            const uint32_t word = load_word(pixel) | kOpaque;
            std::memcpy(pixel, &word, sizeof word);
        }
    }
}

bool lacks_alpha(const Source& source, const imio_picture& picture, int64_t promised) {
    if (ffmpeg::has_alpha(source.reading.pFrame->format) || !ffmpeg::has_alpha(source.video.dst_pix_fmt))
        return false;
    return promised >= kBytesPerPixel && (load_word(picture.data) & kOpaque) != kOpaque;
}

ffmpeg::Picture picture_to_deliver(Source& source, int algorithm) {
    const AVFrame& frame = *source.reading.pFrame;
    ffmpeg::Picture picture = ffmpeg::picture_in_frame(frame);
    if (source.video.told_colours) {
        picture.matrix = frame.colorspace;
        picture.range = frame.color_range;
    }
    return source.video.turn.is_none() ? picture : source.reading.turner.turn(picture, source.video.turn, algorithm);
}

// The scaler is made for every picture and freed at once; nothing is kept but the room for pictures that it cannot
// write in place.
int convert(Source& source, const ffmpeg::Picture& target) {
    const int algorithm = std::max(settings().scale_algorithm, 1);
    const ffmpeg::Picture decoded = picture_to_deliver(source, algorithm);
    const std::optional<int> rows = ffmpeg::scale_exactly(decoded, target, algorithm, source.reading.scratch);
    if (rows)
        trace(TraceSwitch::read, kTag, L"\tframe %d: cvt to user pixfmt res %d\n", source.video.want_frame, *rows);
    else
        trace(TraceSwitch::read, kTag, L"[%S] error get cvt context\n", source.name);
    if (rows.value_or(0) < 1)
        why::failed(AVERROR(EINVAL), "the picture cannot be converted");
    return rows.value_or(0);
}

}  // namespace

void choose_delivery(Video& video, bool told_colours, bool upright) {
    video.told_colours = told_colours;
    if (!upright || video.stream == nullptr)
        return;
    video.turn = ffmpeg::turn_of(*video.stream);
    if (video.turn.transposes)
        std::swap(video.width, video.height);
}

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
    if (rows < 1)
        return rows;
    const int64_t promised = promised_bytes(*picture, target);
    if (lacks_alpha(source, *picture, promised))
        fill_opaque_alpha(*picture, promised);
    return rows;
}

}  // namespace qmio::read

using namespace qmio;

int qmio_set_dst_fmt(MediaHandle* h, int pix_fmt) {
    return with_handle_as_it_stands(h, 0, 0, [=](MediaHandle& handle) {
        handle.video.dst_pix_fmt = ffmpeg::pixel_format_from_interface(pix_fmt);
        return 1;
    });
}
