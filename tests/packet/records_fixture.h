// New records, and a film whose packets are known.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/media.h"
#include "support/numbered_picture.h"
#include "support/plain_file.h"

namespace qmio::test {

inline Record new_record() {
    return Record(qmio_pkt_alloc());
}

inline bool is_zeros(const AVPacket& packet) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(&packet);
    return std::all_of(bytes, bytes + sizeof packet, [](uint8_t byte) { return byte == 0; });
}

inline Bytes bytes_of(const AVPacket& packet) {
    return {packet.data, packet.data + packet.size};
}

// A file whose every picture stands for itself, with its packets by FFmpeg's plain calls.
class Records : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(player_.is_open()); }

    MediaHandle* handle() const { return player_.handle(); }

    // The handle holds the next video packet.
    void read() const { ASSERT_EQ(qmio_get_frame(handle()), QMIO_PACKET_VIDEO); }

    int decode(AVPacket* packet) {
        Bytes pixels(static_cast<std::size_t>(player_.width() * player_.height() * 4));
        const int result = qmio_video_pkt(handle(), pixels.data(), packet);
        return result < 2 ? -1 : read_number(pixels.data(), player_.width(), player_.height(), player_.width() * 4);
    }

    const std::filesystem::path path_ = media_path("mjpeg.avi");
    Player player_{path_, L"threads=1"};
    const std::vector<Packet> plain_ = packets_of(path_, 0);
};

}  // namespace qmio::test
