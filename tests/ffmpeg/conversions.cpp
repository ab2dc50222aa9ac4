#include "ffmpeg/conversions.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>
#include <ostream>
#include <random>

#include "ffmpeg/exact_scale.h"
#include "ffmpeg/pixel_format.h"
#include "ffmpeg/scaler.h"
#include "support/guarded_memory.h"
#include "support/memory_fill.h"

namespace qmio::test {

namespace {

using ffmpeg::FramePtr;
using ffmpeg::Picture;

constexpr std::size_t kLargest = std::size_t{1920} * 64 * 16;
constexpr std::size_t kPadding = 64;    // bytes that may be read behind a picture
constexpr std::size_t kWatched = 4096;  // bytes beside a picture
constexpr uint8_t kUntouched = 0x77;

void fill_buffers(const AVFrame& frame, uint8_t fill) {
    for (const AVBufferRef* buffer : frame.buf)
        if (buffer != nullptr)
            fill_memory(buffer->data, buffer->size, fill);
}

FramePtr filled_frame(AVPixelFormat format, int width, int height, uint8_t fill) {
    FramePtr frame(av_frame_alloc());
    frame->format = format;
    frame->width = width;
    frame->height = height;
    if (av_frame_get_buffer(frame.get(), 64) < 0)
        throw std::bad_alloc();
    fill_buffers(*frame, fill);
    return frame;
}

Picture packed_source(const Conversion& conversion, const uint8_t* pixels) {
    return ffmpeg::picture_in_block(pixels, conversion.source, conversion.source_width, conversion.source_height, 1);
}

// A frame with `room` more columns and some more rows than the source, that holds the source and otherwise `fill`.
FramePtr source_frame(const Conversion& conversion, const Bytes& pixels, int room, uint8_t fill) {
    FramePtr frame =
        filled_frame(conversion.source, conversion.source_width + room, conversion.source_height + room / 8, fill);
    frame->width = conversion.source_width;
    frame->height = conversion.source_height;
    ffmpeg::copy_picture(ffmpeg::picture_in_frame(*frame), packed_source(conversion, pixels.data()));
    return frame;
}

void turn_upside_down(AVFrame& frame) {
    const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const bool palette = (descriptor.flags & AV_PIX_FMT_FLAG_PAL) != 0;
    for (int plane = 0; plane < (palette ? 1 : 4) && frame.data[plane] != nullptr; ++plane) {
        const int shift = plane == 1 || plane == 2 ? descriptor.log2_chroma_h : 0;
        frame.data[plane] += static_cast<ptrdiff_t>(frame.linesize[plane]) * (AV_CEIL_RSHIFT(frame.height, shift) - 1);
        frame.linesize[plane] = -frame.linesize[plane];
    }
}

FramePtr bottom_up_frame(const Conversion& conversion, const Bytes& pixels, uint8_t fill) {
    FramePtr frame = source_frame(conversion, pixels, 0, fill);
    turn_upside_down(*frame);
    ffmpeg::copy_picture(ffmpeg::picture_in_frame(*frame), packed_source(conversion, pixels.data()));
    return frame;
}

Bytes packed(const Picture& picture) {
    Bytes pixels(packed_size(picture.format, picture.width, picture.height));
    av_image_copy_to_buffer(pixels.data(), static_cast<int>(pixels.size()), picture.data.data(),
                            picture.line_size.data(), picture.format, picture.width, picture.height, 1);
    return pixels;
}

// A block of exactly `size` bytes that touches a guard page, and the memory on its other side.
struct Watched {
    Watched(const GuardedMemory& memory, Place place, std::size_t size, uint8_t fill)
        : block(place == Place::start ? memory.at_start() : memory.at_end(size)),
          room(std::min(memory.capacity() - size, kWatched)),
          beside(place == Place::start ? block + size : block - room) {
        std::memset(beside, kUntouched, room);
        fill_memory(block, size, fill);
    }
    bool untouched() const {
        return std::all_of(beside, beside + room, [](uint8_t byte) { return byte == kUntouched; });
    }

    uint8_t* block;
    std::size_t room;
    uint8_t* beside;
};

// The source at its place, and what keeps it there.
struct PlacedSource {
    PlacedSource(const GuardedMemory& memory, const Conversion& conversion, const Bytes& pixels, Place place,
                 uint8_t fill)
        : watched(memory, place, pixels.size() + (place == Place::before_padding ? kPadding : 0), fill) {
        std::copy(pixels.begin(), pixels.end(), watched.block);
        if (place == Place::frame)
            frame = source_frame(conversion, pixels, 0, fill);
        if (place == Place::bottom_up_frame)
            frame = bottom_up_frame(conversion, pixels, fill);
        picture = frame != nullptr ? ffmpeg::picture_in_frame(*frame) : packed_source(conversion, watched.block);
        if (place == Place::before_padding)
            picture.readable_behind = kPadding;
    }

    Watched watched;
    FramePtr frame;
    Picture picture;
};

bool is_plain_copy(const Conversion& conversion) {
    return conversion.source == conversion.target && conversion.width == conversion.source_width &&
           conversion.height == conversion.source_height;
}

bool divides_by_zero(const Conversion& conversion) {
    const int chroma = AV_CEIL_RSHIFT(conversion.width, av_pix_fmt_desc_get(conversion.target)->log2_chroma_w);
    return (conversion.flags & SWS_FAST_BILINEAR) != 0 && chroma <= 2;
}

bool makes_alpha_up_for_odd_width(const Conversion& conversion) {
    return ffmpeg::with_alpha(conversion.source) != AV_PIX_FMT_NONE && ffmpeg::has_alpha(conversion.target) &&
           conversion.source_width % 2 != 0;
}

// What libswscale itself makes of the source in memory with room on all sides, which holds `fill` or, around the
// source, more of the edge. No rows where it makes nothing.
Converted converted_by_libswscale(const Conversion& conversion, const Bytes& pixels, std::optional<uint8_t> fill) {
    const uint8_t unset = fill.value_or(0x33);
    const FramePtr source = fill ? source_frame(conversion, pixels, 64, unset)
                                 : ffmpeg::extended_copy(packed_source(conversion, pixels.data()),
                                                         conversion.source_width, conversion.source_height);
    const FramePtr target = filled_frame(conversion.target, conversion.width + 64, conversion.height + 8, unset);
    const FreshMemoryFill fresh(unset);
    const ffmpeg::ScalerPtr scaler(sws_getContext(conversion.source_width, conversion.source_height, conversion.source,
                                                  conversion.width, conversion.height, conversion.target,
                                                  conversion.flags, nullptr, nullptr, nullptr));
    if (scaler == nullptr)
        return {};
    const int rows = sws_scale(scaler.get(), source->data, source->linesize, 0, conversion.source_height, target->data,
                               target->linesize);
    target->width = conversion.width;
    target->height = conversion.height;
    return {std::max(rows, 0), packed(ffmpeg::picture_in_frame(*target)), {}};
}

// Bytes that libswscale does not always make the same are nobody's truth.
std::string first_difference(const Bytes& ours, const std::vector<Converted>& truths) {
    const Bytes& truth = truths.front().pixels;
    for (std::size_t byte = 0; byte < ours.size(); ++byte) {
        const auto same = [&](const Converted& again) { return again.pixels[byte] == truth[byte]; };
        if (ours[byte] != truth[byte] && std::all_of(truths.begin(), truths.end(), same))
            return "byte " + std::to_string(byte) + " of " + std::to_string(ours.size()) + " is " +
                   std::to_string(ours[byte]) + ", libswscale's " + std::to_string(truth[byte]);
    }
    return {};
}

std::string difference_from_libswscale(const Conversion& conversion, const Bytes& pixels, const Converted& ours) {
    if (is_plain_copy(conversion) || divides_by_zero(conversion) || makes_alpha_up_for_odd_width(conversion))
        return {};
    std::vector<Converted> truths;
    const auto ask = [&](std::optional<uint8_t> fill) {
        truths.push_back(converted_by_libswscale(conversion, pixels, fill));
    };
    ask(std::nullopt);
    ask(0x55);
    const int rows = truths.front().rows;
    if (rows != ours.rows)
        return std::to_string(ours.rows) + " rows, libswscale's " + std::to_string(rows);
    if (rows == 0 || first_difference(ours.pixels, truths).empty())
        return {};
    // A few bits that follow from unset memory may be the same twice.
    for (int fill = 0; fill < 256; fill += 15)
        ask(static_cast<uint8_t>(fill));
    return first_difference(ours.pixels, truths);
}

const char* name_of(Place place) {
    constexpr const char* kNames[] = {"start", "end", "before padding", "frame", "bottom-up frame"};
    return kNames[static_cast<int>(place)];
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Conversion& conversion) {
    return out << av_get_pix_fmt_name(conversion.source) << ' ' << conversion.source_width << 'x'
               << conversion.source_height << " to " << av_get_pix_fmt_name(conversion.target) << ' '
               << conversion.width << 'x' << conversion.height << ", flags " << conversion.flags << ", alignment "
               << conversion.alignment << ", " << name_of(conversion.decoded);
}

Conversion same_size(AVPixelFormat source, AVPixelFormat target, int width, int height, int flags) {
    return {source, target, width, height, width, height, flags};
}

std::vector<AVPixelFormat> software_formats(int (*supported)(AVPixelFormat)) {
    std::vector<AVPixelFormat> all;
    const AVPixFmtDescriptor* descriptor = nullptr;
    while ((descriptor = av_pix_fmt_desc_next(descriptor)) != nullptr) {
        const AVPixelFormat format = av_pix_fmt_desc_get_id(descriptor);
        if ((descriptor->flags & AV_PIX_FMT_FLAG_HWACCEL) == 0 && supported(format) != 0)
            all.push_back(format);
    }
    return all;
}

std::size_t packed_size(AVPixelFormat format, int width, int height) {
    return static_cast<std::size_t>(av_image_get_buffer_size(format, width, height, 1));
}

Bytes random_pixels(const Conversion& conversion, uint32_t seed) {
    std::mt19937 random(seed);
    // Samples of more than eight bits stay small: no float among them is a NaN, none exceeds its depth.
    const uint32_t mask = av_pix_fmt_desc_get(conversion.source)->comp[0].depth > 8 ? 0x3F : 0xFF;
    Bytes bytes(packed_size(conversion.source, conversion.source_width, conversion.source_height));
    for (uint8_t& byte : bytes)
        byte = static_cast<uint8_t>(random() & mask);
    return bytes;
}

Converted converted(const Conversion& conversion, const Bytes& pixels, Place place, uint8_t fill) {
    static const GuardedMemory from(kLargest), to(kLargest);
    const PlacedSource source(from, conversion, pixels, place, fill);
    const int size =
        av_image_get_buffer_size(conversion.target, conversion.width, conversion.height, conversion.alignment);
    const Watched target(to, place, static_cast<std::size_t>(size), fill);
    const Picture written = ffmpeg::picture_in_block(target.block, conversion.target, conversion.width,
                                                     conversion.height, conversion.alignment);
    // Kept from conversion to conversion, so that it is one picture that is filled, and sometimes a fresh one.
    static FramePtr scratch;
    if (scratch != nullptr)
        fill_buffers(*scratch, fill);
    Converted result;
    {
        const FreshMemoryFill fresh(fill);
        result.rows = ffmpeg::scale_exactly(source.picture, written, conversion.flags, scratch).value_or(0);
    }
    result.pixels = packed(written);
    if (!target.untouched())
        result.fault = "writes outside the target";
    if (packed(source.picture) != pixels || !source.watched.untouched())
        result.fault = "writes into the source";
    return result;
}

std::string fault_of(const Conversion& conversion, const Bytes& pixels) {
    const Converted at_end = converted(conversion, pixels, Place::end, 0x55);
    const Converted at_start = converted(conversion, pixels, Place::start, 0xAA);
    const Converted decoded = converted(conversion, pixels, conversion.decoded, 0xCC);
    for (const Converted* result : {&at_end, &at_start, &decoded})
        if (!result->fault.empty())
            return result->fault;
    if (at_start.rows != at_end.rows || decoded.rows != at_end.rows)
        return "the rows differ from run to run";
    if (at_end.rows > 0 && at_start.pixels != at_end.pixels)
        return "not every byte is written, or some follow from memory that nobody set";
    if (at_end.rows > 0 && decoded.pixels != at_end.pixels)
        return "follows from what lies behind the source";
    return difference_from_libswscale(conversion, pixels, at_end);
}

}  // namespace qmio::test
