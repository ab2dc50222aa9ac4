#include "ffmpeg/picture_units.h"

#include <algorithm>

namespace qmio::ffmpeg {

namespace {

using Bytes = std::span<const uint8_t>;

constexpr int kH264Slice = 1;
constexpr int kH264Idr = 5;
constexpr int kH264Delimiter = 9;
constexpr int kH264Filler = 12;
constexpr int kHevcSliceLast = 31;
constexpr int kHevcRaslFirst = 8;
constexpr int kHevcRaslLast = 9;
constexpr int kHevcBlaFirst = 16;
constexpr int kHevcIdrLast = 20;
constexpr int kHevcSubLayerLast = 15;  // up to here even types are those that no other picture of their layer refers to
constexpr int kHevcDelimiter = 35;
constexpr int kHevcFiller = 38;

int unit_type(AVCodecID codec, uint8_t first_byte) {
    return codec == AV_CODEC_ID_H264 ? first_byte & 0x1F : (first_byte >> 1) & 0x3F;
}

bool is_slice(AVCodecID codec, int type) {
    return codec == AV_CODEC_ID_H264 ? type >= kH264Slice && type <= kH264Idr : type <= kHevcSliceLast;
}

bool is_filling(AVCodecID codec, int type) {
    return codec == AV_CODEC_ID_H264 ? type == kH264Delimiter || type == kH264Filler
                                     : type == kHevcDelimiter || type == kHevcFiller;
}

bool is_non_reference_slice(AVCodecID codec, uint8_t first_byte) {
    const int type = unit_type(codec, first_byte);
    return codec == AV_CODEC_ID_H264 ? type == kH264Slice && (first_byte & 0x60) == 0
                                     : type <= kHevcSubLayerLast && type % 2 == 0;
}

}  // namespace

int unit_length_bytes(const AVCodecParameters& parameters) {
    const Bytes extra(parameters.extradata, static_cast<std::size_t>(std::max(parameters.extradata_size, 0)));
    if (parameters.codec_id == AV_CODEC_ID_H264 && extra.size() >= 7 && extra[0] == 1)
        return (extra[4] & 3) + 1;
    if (parameters.codec_id == AV_CODEC_ID_HEVC && extra.size() >= 23 && (extra[0] > 0 || extra[1] > 0 || extra[2] > 1))
        return (extra[21] & 3) + 1;
    return 0;
}

const uint8_t* behind_start_code(const uint8_t* at, const uint8_t* end) {
    for (; end - at > 3; ++at)
        if (at[0] == 0 && at[1] == 0 && at[2] == 1)
            return at + 3;
    return end;
}

PictureUnits::PictureUnits(Bytes packet, int length_bytes)
    : length_bytes_(length_bytes),
      end_(packet.data() + packet.size()),
      next_(length_bytes > 0 ? packet.data() : behind_start_code(packet.data(), end_)) {}

// The end of a unit with a start code is looked for when the unit behind it is asked for: slices are long.
const uint8_t* PictureUnits::next() {
    const uint8_t* unit = next_;
    if (unit == end_)
        return nullptr;
    if (length_bytes_ == 0) {
        next_ = behind_start_code(unit, end_);
        return unit;
    }
    std::size_t length = 0;
    for (int byte = 0; byte < length_bytes_ && unit != end_; ++byte)
        length = length << 8 | *unit++;
    const auto left = static_cast<std::size_t>(end_ - unit);
    cut_ = cut_ || left == 0 || length == 0 || length > left;
    next_ = length > left ? end_ : unit + length;
    return left > 0 ? unit : nullptr;
}

int first_slice_type(AVCodecID codec, Bytes packet, int length_bytes) {
    PictureUnits units(packet, length_bytes);
    while (const uint8_t* const unit = units.next())
        if (const int type = unit_type(codec, *unit); is_slice(codec, type))
            return type;
    return kNoUnit;
}

bool begins_sequence(AVCodecID codec, int slice_type) {
    return codec == AV_CODEC_ID_HEVC ? slice_type >= kHevcBlaFirst && slice_type <= kHevcIdrLast
                                     : slice_type == kH264Idr;
}

bool refers_before_key(int slice_type) {
    return slice_type >= kHevcRaslFirst && slice_type <= kHevcRaslLast;
}

bool NonReference::is_all_of(const AVPacket& packet) const {
    if (codec_ != AV_CODEC_ID_H264 && codec_ != AV_CODEC_ID_HEVC)
        return false;
    // Headers that it brings are for the packets behind it, too.
    const bool brings_headers = av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, nullptr) != nullptr;
    if (packet.data == nullptr || packet.size <= 0 || brings_headers)
        return false;
    PictureUnits units(Bytes(packet.data, static_cast<std::size_t>(packet.size)), length_bytes_);
    bool has_slice = false;
    while (const uint8_t* const unit = units.next()) {
        const bool is_picture = is_non_reference_slice(codec_, *unit);
        if (!is_picture && !is_filling(codec_, unit_type(codec_, *unit)))
            return false;
        has_slice |= is_picture;
    }
    return has_slice && !units.is_cut();
}

}  // namespace qmio::ffmpeg
