#include "ffmpeg/packet_pictures.h"

#include <algorithm>
#include <span>

#include "ffmpeg/frames_only.h"
#include "ffmpeg/picture_units.h"

namespace qmio::ffmpeg {

namespace {

using Bytes = std::span<const uint8_t>;

bool is_hidden_vp8(Bytes bytes) {
    return (bytes[0] >> 4 & 1) == 0;
}

// Of the frame's first header byte: two bits of a marker, two of the profile (and one behind profile 3), "shows an earlier
// frame", "is no key frame", "is shown".
bool is_hidden_vp9_frame(uint8_t byte) {
    const bool long_profile = (byte & 0x30) == 0x30;
    const int shift = long_profile ? 1 : 0;
    const bool shows_earlier = (byte << shift & 0x08) != 0;
    const bool shown = (byte << shift & 0x02) != 0;
    return !shows_earlier && !shown;
}

// Several frames in one packet have their lengths in an index at its end, between two copies of a marker.
bool is_hidden_vp9(Bytes bytes) {
    const uint8_t marker = bytes.back();
    const std::size_t length_size = static_cast<std::size_t>(marker >> 3 & 3) + 1;
    const std::size_t frames = static_cast<std::size_t>(marker & 7) + 1;
    const std::size_t index_size = 2 + length_size * frames;
    if ((marker & 0xE0) != 0xC0 || bytes.size() < index_size || bytes[bytes.size() - index_size] != marker)
        return is_hidden_vp9_frame(bytes[0]);
    std::size_t frame = 0;
    const uint8_t* length = &bytes[bytes.size() - index_size + 1];
    for (std::size_t number = 0; number < frames; ++number) {
        if (frame < bytes.size() && !is_hidden_vp9_frame(bytes[frame]))
            return false;
        for (std::size_t byte = 0; byte < length_size; ++byte)
            frame += static_cast<std::size_t>(*length++) << (8 * byte);
    }
    return true;
}

// The flag stands in the header of the group of pictures, which key packets begin with.
bool is_closed_group(Bytes bytes) {
    const uint8_t* const end = bytes.data() + bytes.size();
    for (const uint8_t* at = behind_start_code(bytes.data(), end); at != end; at = behind_start_code(at, end)) {
        if (*at == 0xB8 && end - at > 4)
            return (at[4] & 0x40) != 0;
        if (*at == 0)
            break;
    }
    return false;
}

constexpr uint8_t kMpeg4Picture = 0xB6;
constexpr int kLongestEmptyPicture = 7;  // bytes: start code, type, time, "not coded"
constexpr int kSmallPicture = 16;        // macroblocks; what is coded of more takes more bytes

bool holds_two_pictures(Bytes bytes) {
    int pictures = 0;
    const uint8_t* const end = bytes.data() + bytes.size();
    for (const uint8_t* at = behind_start_code(bytes.data(), end); at != end; at = behind_start_code(at, end))
        pictures += *at == kMpeg4Picture ? 1 : 0;
    return pictures > 1;
}

// A chain of units, each with its kind and the distance to the next; the end of the stream is a packet of its own.
bool is_dirac_without_picture(Bytes bytes) {
    constexpr std::size_t kHeader = 13;
    constexpr uint8_t kPicture = 0x08;
    for (std::size_t at = 0; at + kHeader <= bytes.size();) {
        if ((bytes[at + 4] & kPicture) != 0)
            return false;
        const uint8_t* const next = &bytes[at + 5];
        const std::size_t distance =
            std::size_t{next[0]} << 24 | std::size_t{next[1]} << 16 | std::size_t{next[2]} << 8 | next[3];
        if (distance == 0)
            break;
        at += distance;
    }
    return true;
}

bool needs_parser(AVCodecID codec) {
    return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC;
}

}  // namespace

bool begins_with_key(AVCodecID codec) {
    switch (codec) {
        case AV_CODEC_ID_H264:
        case AV_CODEC_ID_MPEG1VIDEO:
        case AV_CODEC_ID_MPEG2VIDEO:
        case AV_CODEC_ID_VP8:
        case AV_CODEC_ID_VP9:
        case AV_CODEC_ID_AV1:
            return true;
        default:
            return false;
    }
}

PacketPictures::PacketPictures(const AVStream& stream, Look look)
    : look_(look),
      codec_(stream.codecpar->codec_id),
      macroblocks_((stream.codecpar->width + 15) / 16 * ((stream.codecpar->height + 15) / 16)),
      length_bytes_(unit_length_bytes(*stream.codecpar)) {
    if (!needs_parser(codec_))
        return;
    context_.reset(avcodec_alloc_context3(nullptr));
    parser_.reset(av_parser_init(codec_));
    if (context_ == nullptr || parser_ == nullptr ||
        avcodec_parameters_to_context(context_.get(), stream.codecpar) < 0) {
        parser_.reset();
        return;
    }
    parser_->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    frames_only_ = holds_whole_frames_only(*stream.codecpar);
}

PacketPicture PacketPictures::look(const AVPacket& packet) {
    PacketPicture picture;
    picture.immediate = packet.pts != AV_NOPTS_VALUE && packet.pts == packet.dts;
    if (packet.size > 0 && packet.data != nullptr)
        look_at_headers(packet, picture);
    else
        picture.kind = PacketPicture::Kind::hidden;
    if ((packet.flags & AV_PKT_FLAG_DISCARD) != 0)
        picture.kind = PacketPicture::Kind::hidden;
    return picture;
}

void PacketPictures::look_at_headers(const AVPacket& packet, PacketPicture& picture) {
    const Bytes bytes(packet.data, static_cast<std::size_t>(packet.size));
    if (codec_ == AV_CODEC_ID_VP8 && is_hidden_vp8(bytes))
        picture.kind = PacketPicture::Kind::hidden;
    if (codec_ == AV_CODEC_ID_VP9 && is_hidden_vp9(bytes))
        picture.kind = PacketPicture::Kind::hidden;
    if (codec_ == AV_CODEC_ID_DIRAC && is_dirac_without_picture(bytes))
        picture.kind = PacketPicture::Kind::hidden;
    if (codec_ == AV_CODEC_ID_MPEG4)
        look_at_mpeg4(packet, picture);
    const bool is_mpeg = codec_ == AV_CODEC_ID_MPEG1VIDEO || codec_ == AV_CODEC_ID_MPEG2VIDEO;
    if (is_mpeg && (packet.flags & AV_PKT_FLAG_KEY) != 0)
        closed_group_ = is_closed_group(bytes);
    if (is_mpeg)
        picture.refers_before_key = !closed_group_;
    // The decoder of H.264 takes everything that is shown before the first key picture for damaged.
    if (codec_ == AV_CODEC_ID_H264)
        picture.refers_before_key = true;
    if (parser_ == nullptr)
        return;
    const int unit = first_slice_type(codec_, bytes, length_bytes_);
    if (codec_ == AV_CODEC_ID_HEVC)
        picture.refers_before_key = refers_before_key(unit);
    const bool may_be_field = codec_ == AV_CODEC_ID_H264 && !frames_only_;
    if (look_ == Look::everywhere || may_be_field || packet.pts == AV_NOPTS_VALUE)
        number_by_order_count(packet, unit, picture);
}

// Some files put a picture that is shown at once into the packet of the reference before it, and an empty one where it
// would have been: the decoder lays it by until then.
void PacketPictures::look_at_mpeg4(const AVPacket& packet, PacketPicture& picture) {
    const Bytes bytes(packet.data, static_cast<std::size_t>(packet.size));
    const bool empty = packet.size <= kLongestEmptyPicture && macroblocks_ > kSmallPicture;
    if (empty && picture_waits_)
        picture.immediate = true;
    else if (empty)
        picture.kind = PacketPicture::Kind::hidden;
    picture.refers_before_key = true;
    if (empty)
        picture_waits_ = false;
    else if (!picture_waits_ && packet.pts == AV_NOPTS_VALUE)
        picture_waits_ = holds_two_pictures(bytes);
}

void PacketPictures::number_by_order_count(const AVPacket& packet, int unit, PacketPicture& picture) {
    uint8_t* out = nullptr;
    int size = 0;
    av_parser_parse2(parser_.get(), context_.get(), &out, &size, packet.data, packet.size, packet.pts, packet.dts,
                     packet.pos);
    const bool is_hevc = codec_ == AV_CODEC_ID_HEVC;
    if (!is_hevc && is_second_field())
        picture.kind = PacketPicture::Kind::second_field;
    else if (begins_sequence(codec_, unit))
        ++sequence_;
    picture.order = sequence_ * (int64_t{1} << 32) + parser_->output_picture_number;
}

// The other half of the frame that the packet before began. In HEVC fields are pictures of their own.
bool PacketPictures::is_second_field() {
    const int field = parser_->picture_structure;
    const bool is_field = field == AV_PICTURE_STRUCTURE_TOP_FIELD || field == AV_PICTURE_STRUCTURE_BOTTOM_FIELD;
    const bool is_second = is_field && field_ != 0 && field_ != field;
    field_ = is_field && !is_second ? field : 0;
    return is_second;
}

}  // namespace qmio::ffmpeg
