// What the packets of a video stream bring, as far as their headers tell without decoding.
#pragma once

#include <cstdint>
#include <optional>

#include "ffmpeg/owners.h"

namespace qmio::ffmpeg {

struct PacketPicture {
    enum class Kind {
        shown,         // the packet brings a picture
        hidden,        // other pictures refer to its picture, or nothing is in it
        second_field,  // the picture is that of the packet before
    };
    Kind kind = Kind::shown;

    // Its place among all pictures in the order in which they are shown; nothing where the codec's headers do not tell.
    std::optional<int64_t> order;

    // Shown as soon as it is decoded, while references wait for the next reference: what codecs without such an order do.
    bool immediate = false;

    // It refers to what lies before the key packet, so that it is not decoded where decoding begins there.
    bool refers_before_key = false;
};

// True for codecs whose decoders give nothing before the first key packet, and where they begin nothing that is shown
// before it.
bool begins_with_key(AVCodecID codec);

// Looks at one packet after the other, in the order of the stream.
class PacketPictures {
  public:
    // Looking into every packet costs a tenth of what reading it does. Where needed is where its times tell no order and
    // where it may hold half of a picture.
    enum class Look { where_needed, everywhere };

    PacketPictures(const AVStream& stream, Look look);

    PacketPicture look(const AVPacket& packet);

  private:
    void look_at_headers(const AVPacket& packet, PacketPicture& picture);
    void look_at_mpeg4(const AVPacket& packet, PacketPicture& picture);
    void number_by_order_count(const AVPacket& packet, int unit, PacketPicture& picture);
    bool is_second_field();

    const Look look_;
    const AVCodecID codec_;
    const int macroblocks_;
    int length_bytes_ = 0;  // before each unit of H.264 and HEVC; 0: units begin with start codes
    CodecContextPtr context_;
    ParserPtr parser_;
    bool frames_only_ = false;   // H.264: nothing but its times tells the order of whole frames
    int64_t sequence_ = 0;       // of pictures that are counted from one key picture on
    int field_ = 0;              // parity of the field before that has no second one yet
    bool closed_group_ = false;  // MPEG-1 and 2: what follows the last key packet does not refer to what lies before it
    bool picture_waits_ = false;  // MPEG-4: the packet before held two pictures
};

}  // namespace qmio::ffmpeg
