// In which order the pictures of counted packets are shown.
#pragma once

#include <vector>

#include "core/handle/counted_pictures.h"
#include "ffmpeg/packet_pictures.h"

namespace qmio::read {

// A packet as it was counted.
struct CountedPacket {
    CountedPictures::Packet packet;
    ffmpeg::PacketPicture picture;
};

// True where times do not tell the order of pictures, and the codec's headers, which were not looked at everywhere, may.
bool lacks_order(const std::vector<CountedPacket>& packets, AVCodecID codec);

// Numbers the packets of a stream, which stand in the order of decoding.
std::vector<CountedPictures::Packet> number_pictures(std::vector<CountedPacket> packets, AVCodecID codec);

}  // namespace qmio::read
