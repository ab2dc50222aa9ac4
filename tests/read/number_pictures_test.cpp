// In which order the pictures of packets are shown, for made-up packets.
#include "read/number_pictures.h"

#include <gtest/gtest.h>

#include <optional>

namespace qmio::read {
namespace {

using Kind = ffmpeg::PacketPicture::Kind;

constexpr int64_t kUnknown = AV_NOPTS_VALUE;
constexpr int32_t kNone = CountedPictures::kNone;

CountedPacket packet(int64_t pts, bool key = false) {
    CountedPacket made;
    made.packet.pts = pts;
    made.packet.key = key;
    return made;
}

CountedPacket ordered(int64_t order, bool key = false) {
    CountedPacket made = packet(kUnknown, key);
    made.picture.order = order;
    return made;
}

CountedPacket immediate() {
    CountedPacket made = packet(kUnknown);
    made.picture.immediate = true;
    return made;
}

CountedPacket of_kind(CountedPacket made, Kind kind) {
    made.picture.kind = kind;
    return made;
}

CountedPacket leading(CountedPacket made) {
    made.picture.refers_before_key = true;
    return made;
}

std::vector<int32_t> numbers(std::vector<CountedPacket> packets, AVCodecID codec = AV_CODEC_ID_H264) {
    std::vector<int32_t> found;
    for (const CountedPictures::Packet& numbered : number_pictures(std::move(packets), codec))
        found.push_back(numbered.number);
    return found;
}

using Numbers = std::vector<int32_t>;

TEST(PicturesInOrder, GoByTheirTimes) {
    EXPECT_EQ(numbers({packet(0, true), packet(90), packet(31), packet(60)}), (Numbers{0, 3, 1, 2}));
}

TEST(PicturesInOrder, GoByTheCodecsOrderWithoutTimes) {
    EXPECT_EQ(numbers({ordered(0, true), ordered(6), ordered(2), ordered(4), ordered(100, true)}),
              (Numbers{0, 3, 1, 2, 4}));
}

TEST(PicturesInOrder, WaitForTheNextReferenceWhereNothingElseTells) {
    EXPECT_EQ(numbers({packet(kUnknown, true), packet(kUnknown), immediate(), immediate(), packet(kUnknown)},
                      AV_CODEC_ID_MPEG2VIDEO),
              (Numbers{0, 3, 1, 2, 4}));
    EXPECT_EQ(numbers({packet(5, true), packet(5), packet(5)}), (Numbers{0, 1, 2}));
}

TEST(PicturesInOrder, AreLeftOutWhereNothingIsShown) {
    EXPECT_EQ(numbers({packet(0, true), of_kind(packet(1), Kind::hidden), packet(2)}), (Numbers{0, kNone, 1}));
}

TEST(PicturesInOrder, AreOneForTwoFields) {
    EXPECT_EQ(numbers({packet(0, true), of_kind(packet(1), Kind::second_field), packet(6), packet(4),
                       of_kind(packet(5), Kind::second_field)}),
              (Numbers{0, 0, 2, 1, 1}));
}

TEST(PicturesInOrder, BeginWithTheFirstKeyPacket) {
    EXPECT_EQ(numbers({packet(0), packet(1), packet(2, true), packet(3)}), (Numbers{kNone, kNone, 0, 1}));
    EXPECT_EQ(numbers({packet(0), packet(1), packet(2, true)}, AV_CODEC_ID_MJPEG), (Numbers{0, 1, 2}));
    EXPECT_EQ(numbers({packet(0), packet(1)}), (Numbers{0, 1}));
}

TEST(PicturesInOrder, LeaveOutWhatLeadsTheFirstKeyPacketAlone) {
    EXPECT_EQ(numbers({packet(20, true), leading(packet(10)), packet(30), packet(50, true), leading(packet(40))}),
              (Numbers{0, kNone, 1, 3, 2}));
    EXPECT_EQ(numbers({packet(20, true), packet(10), packet(30)}), (Numbers{1, 0, 2}));
}

// An edit list shows what lies behind a key picture that it hides.
TEST(PicturesInOrder, AreShownBehindAHiddenKeyPacket) {
    EXPECT_EQ(numbers({of_kind(packet(0, true), Kind::hidden), leading(packet(2)), leading(packet(1))}),
              (Numbers{kNone, 1, 0}));
}

TEST(PicturesInOrder, MayBeNone) {
    EXPECT_EQ(numbers({}), Numbers{});
    EXPECT_EQ(numbers({of_kind(packet(0), Kind::hidden)}), Numbers{kNone});
}

// ---- The table that comes of it -------------------------------------------------------------------------------------

using Packet = CountedPictures::Packet;

TEST(CountedPictures, KnowPacketsByTheirPlaceInTheFileOrTheirTimes) {
    const CountedPictures pictures({Packet{0, 0, 100, 0, true}, Packet{20, 10, 200, 2}, Packet{10, 20, 300, 1}});
    ASSERT_EQ(pictures.count(), 3);
    ffmpeg::PacketPtr asked(av_packet_alloc());
    asked->pos = 300;
    EXPECT_EQ(pictures.number_of(*asked), 1);
    asked->pos = -1;
    EXPECT_EQ(pictures.number_of(*asked), kNone);
    asked->dts = 10;
    EXPECT_EQ(pictures.number_of(*asked), 2);
    asked->pts = 10;
    EXPECT_EQ(pictures.number_of(*asked), 1);
}

TEST(CountedPictures, AreNotKnownByWhatTheyShare) {
    const CountedPictures pictures({Packet{5, 0, 100, 0, true}, Packet{5, 1, 100, 1}});
    ffmpeg::PacketPtr asked(av_packet_alloc());
    asked->pos = 100;
    asked->pts = 5;
    EXPECT_EQ(pictures.find(*asked), CountedPictures::kNone);
    asked->dts = 1;
    EXPECT_EQ(pictures.find(*asked), 1);
}

TEST(CountedPictures, BeginToDecodeAtAKeyPacketThatIsShownNoLater) {
    // The second key picture is decoded before the picture with number 1, but shown after it.
    const CountedPictures pictures(
        {Packet{0, 0, 0, 0, true}, Packet{20, 1, 1, 2, true}, Packet{10, 2, 2, 1}, Packet{30, 3, 3, 3}});
    EXPECT_EQ(pictures.key_before(1).position, 0);
    EXPECT_EQ(pictures.key_before(2).position, 1);
    EXPECT_EQ(pictures.key_before(3).position, 1);
    EXPECT_EQ(pictures.key_before(99).position, 1);
    EXPECT_EQ(pictures.key_before(-4).position, 0);
}

}  // namespace
}  // namespace qmio::read
