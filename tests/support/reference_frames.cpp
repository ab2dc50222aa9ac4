// reference_frames PIX_FMT WIDTH HEIGHT OUT
//   Reads raw pictures, as the ffmpeg program decoded them, from standard input and writes one line for each to OUT:
//   its index, the hash of the BGRA picture that libswscale makes of it, its width and height; fails where nothing comes.
//   The conversion runs on aligned and padded memory, where libswscale neither leaves pixels unwritten nor writes past a
//   row.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/log.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include "support/picture_hash.h"

namespace {

constexpr int kAlignment = 64;
constexpr int kColumnsAtOnce = 8;
constexpr uint32_t kOpaque = 0xFF000000U;

struct Free {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};
using Frame = std::unique_ptr<AVFrame, Free>;
using Scaler = std::unique_ptr<SwsContext, Free>;

bool has_alpha(AVPixelFormat format) {
    return (av_pix_fmt_desc_get(format)->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
}

Frame make_frame(AVPixelFormat format, int width, int height) {
    Frame frame(av_frame_alloc());
    frame->format = format;
    frame->width = width;
    frame->height = height;
    if (av_frame_get_buffer(frame.get(), kAlignment) < 0)
        return nullptr;
    return frame;
}

// Bytes from one pixel of a packed plane to the next; 0 where pixels are no whole bytes.
int pixel_step(const AVPixFmtDescriptor& descriptor, int plane) {
    if ((descriptor.flags & (AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_PAL)) != 0)
        return 0;
    int step = 0;
    for (int component = 0; component < descriptor.nb_components; ++component)
        if (descriptor.comp[component].plane == plane)
            step = std::max(step, descriptor.comp[component].step);
    return step;
}

// libswscale averages the colours of RGB over pairs of columns, in odd widths with what lies behind the edge: that is
// the edge once more.
void repeat_right_edge(AVFrame& frame) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(format);
    if ((descriptor.flags & AV_PIX_FMT_FLAG_RGB) == 0)
        return;
    for (int plane = 0; plane < 4 && frame.data[plane] != nullptr; ++plane) {
        const int step = pixel_step(descriptor, plane);
        const int used = av_image_get_linesize(format, frame.width, plane);
        for (int y = 0; y < frame.height && step > 0; ++y) {
            uint8_t* row = frame.data[plane] + static_cast<ptrdiff_t>(y) * frame.linesize[plane];
            for (int byte = used; byte < frame.linesize[plane]; ++byte)
                row[byte] = row[byte - step];
        }
    }
}

void unpack(const std::vector<uint8_t>& raw, AVFrame& frame) {
    uint8_t* planes[4] = {};
    int line_sizes[4] = {};
    const auto format = static_cast<AVPixelFormat>(frame.format);
    av_image_fill_arrays(planes, line_sizes, raw.data(), format, frame.width, frame.height, 1);
    const uint8_t* sources[4] = {planes[0], planes[1], planes[2], planes[3]};
    av_image_copy(frame.data, frame.linesize, sources, line_sizes, format, frame.width, frame.height);
    repeat_right_edge(frame);
}

void make_opaque(AVFrame& picture) {
    for (int y = 0; y < picture.height; ++y) {
        auto* row = reinterpret_cast<uint32_t*>(picture.data[0] + static_cast<ptrdiff_t>(y) * picture.linesize[0]);
        for (int x = 0; x < picture.width; ++x)
            row[x] |= kOpaque;
    }
}

bool scale(const AVFrame& source, AVFrame& picture, int width) {
    const auto format = static_cast<AVPixelFormat>(source.format);
    const Scaler scaler(sws_getContext(width, source.height, format, width, picture.height, AV_PIX_FMT_BGRA,
                                       SWS_FAST_BILINEAR, nullptr, nullptr, nullptr));
    return scaler && sws_scale(scaler.get(), source.data, source.linesize, 0, source.height, picture.data,
                               picture.linesize) == picture.height;
}

// The picture's pixels after a conversion over memory that held `before`.
std::vector<uint8_t> pixels_over(const AVFrame& source, AVFrame& picture, uint8_t before) {
    const auto line_size = static_cast<std::size_t>(picture.linesize[0]);
    std::memset(picture.data[0], before, line_size * static_cast<std::size_t>(picture.height));
    scale(source, picture, picture.width);
    std::vector<uint8_t> pixels;
    for (int y = 0; y < picture.height; ++y) {
        const uint8_t* row = picture.data[0] + static_cast<std::size_t>(y) * line_size;
        pixels.insert(pixels.end(), row, row + static_cast<std::size_t>(picture.width) * 4);
    }
    return pixels;
}

// libswscale leaves the last columns of some widths as they were, on aligned memory too. Such pictures are converted
// with some columns of padding, which changes none of the pixels before them.
int width_that_fills(const AVFrame& source, AVFrame& picture) {
    const bool filled = pixels_over(source, picture, 0) == pixels_over(source, picture, 0xFF);
    return filled ? picture.width : FFALIGN(picture.width, kColumnsAtOnce);
}

bool write_references(AVPixelFormat format, int width, int height, std::FILE* out) {
    const Frame source = make_frame(format, width, height);
    const Frame picture = make_frame(AV_PIX_FMT_BGRA, width, height);
    const int size = av_image_get_buffer_size(format, width, height, 1);
    if (!source || !picture || size < 1)
        return false;
    std::vector<uint8_t> raw(static_cast<std::size_t>(size));
    std::size_t got = std::fread(raw.data(), 1, raw.size(), stdin);
    const int scaled_width = width_that_fills(*source, *picture);
    int index = 0;
    for (; got == raw.size(); ++index) {
        unpack(raw, *source);
        if (!scale(*source, *picture, scaled_width))
            return false;
        if (!has_alpha(format) && picture->data[0][3] != 0xFF)
            make_opaque(*picture);
        const uint64_t hash = qmio::test::hash_picture(picture->data[0], width, height, picture->linesize[0]);
        std::fprintf(out, "%d %016" PRIx64 " %d %d\n", index, hash, width, height);
        got = std::fread(raw.data(), 1, raw.size(), stdin);
    }
    // A rest means that size or format are not what was decoded.
    return index > 0 && got == 0 && std::feof(stdin) != 0;
}

}  // namespace

int main(int argc, char** argv) {
    const AVPixelFormat format = argc == 5 ? av_get_pix_fmt(argv[1]) : AV_PIX_FMT_NONE;
    if (format == AV_PIX_FMT_NONE) {
        std::fprintf(stderr, "usage: reference_frames PIX_FMT WIDTH HEIGHT OUT\n");
        return 2;
    }
    av_log_set_level(AV_LOG_ERROR);
    std::FILE* out = std::fopen(argv[4], "w");
    if (out == nullptr)
        return 1;
    const bool written = write_references(format, std::atoi(argv[2]), std::atoi(argv[3]), out);
    return std::fclose(out) == 0 && written ? 0 : 1;
}
