// Reading packet by packet, the held picture, and calls that have nothing to work on.
#include <gtest/gtest.h>

#include <array>

#include "read/results.h"
#include "support/media.h"

namespace qmio::test {
namespace {

// One packet after another until one of the wanted kind; it is not released.
bool next_packet(MediaHandle* handle, int wanted) {
    for (int kind = qmio_get_frame(handle); kind >= 0; kind = qmio_get_frame(handle)) {
        if (kind == wanted)
            return true;
        qmio_release_frame(handle);
    }
    return false;
}

TEST(Packets, TellVideoFromAudio) {
    Player player(media_path("two_audio_tracks.mp4"));
    ASSERT_TRUE(next_packet(player.handle(), kVideoPacket));
    EXPECT_EQ(qmio_get_vstream(player.handle()), 0);
    qmio_release_frame(player.handle());
    ASSERT_TRUE(next_packet(player.handle(), kAudioPacket));
    EXPECT_GT(qmio_get_astream(player.handle()), 0);
    qmio_release_frame(player.handle());
}

TEST(Packets, AnAudioPacketIsNotDecodedAsAPicture) {
    Player player(media_path("two_audio_tracks.mp4"));
    ASSERT_TRUE(next_packet(player.handle(), kAudioPacket));
    EXPECT_EQ(player.decode_packet().result, kOtherStream);
    imio_picture picture{};
    EXPECT_EQ(imio_video_frame(player.handle(), &picture), kOtherStream);
    qmio_release_frame(player.handle());
}

TEST(Packets, EndWithMinusOne) {
    Player player(media_path("tone.wav"));
    while (qmio_get_frame(player.handle()) >= 0)
        qmio_release_frame(player.handle());
    EXPECT_EQ(qmio_get_frame(player.handle()), -1);
}

TEST(Packets, MayBeReleasedTwiceOrWithoutReading) {
    Player player(media_path("plain.mp4"));
    EXPECT_EQ(qmio_release_frame(player.handle()), 0);
    ASSERT_EQ(qmio_get_frame(player.handle()), kVideoPacket);
    EXPECT_EQ(qmio_release_frame(player.handle()), 0);
    EXPECT_EQ(qmio_release_frame(player.handle()), 0);
    EXPECT_EQ(qmio_get_frame(player.handle()), kVideoPacket);
}

TEST(Packets, ReadOverWithoutReleasingAreNotLost) {
    Player player(media_path("mjpeg.avi"));
    for (int packet = 0; packet < 5; ++packet)
        ASSERT_EQ(qmio_get_frame(player.handle()), kVideoPacket);
    EXPECT_EQ(player.decode_packet().number, 4);
}

// What the first video packet of a made file decodes to.
int first_packet(const std::string& name) {
    Player player(media_path(name));
    while (qmio_get_frame(player.handle()) == QMIO_PACKET_AUDIO)
        qmio_release_frame(player.handle());
    return player.decode_packet().result;
}

TEST(StillPicture, ComesWithItsPacketWhateverItsDecoderHoldsBack) {
    EXPECT_EQ(first_packet("still.png"), QMIO_PICTURE_PROGRESSIVE);
    EXPECT_EQ(first_packet("still.jpg"), QMIO_PICTURE_PROGRESSIVE);
    EXPECT_EQ(first_packet("one_frame.avi"), QMIO_PICTURE_PROGRESSIVE);
}

TEST(NullBuffer, DecodesWithoutConverting) {
    Player player(media_path("mpeg4_no_bframes.avi"));
    int result = 0;
    while (result == 0 && qmio_get_frame(player.handle()) == kVideoPacket) {
        result = qmio_video_frame(player.handle(), nullptr);
        qmio_release_frame(player.handle());
    }
    EXPECT_EQ(result, kProgressive);
    EXPECT_EQ(player.held().hash, made_references("mpeg4_no_bframes.avi").at(0).hash);
}

TEST(HeldPicture, IsConvertedAgainWithoutDecoding) {
    Player player(media_path("plain.mp4"));
    const uint64_t first = player.read().hash;
    const Picture again = player.held();
    EXPECT_EQ(again.result, player.height());
    EXPECT_EQ(again.hash, first);
    EXPECT_EQ(player.read().number, 1);
}

TEST(HeldPicture, HasNothingForANullBuffer) {
    Player player(media_path("plain.mp4"));
    player.read();
    EXPECT_EQ(qmio_get_buf(player.handle(), nullptr), 0);
    EXPECT_EQ(imio_get_buf(player.handle(), nullptr), -1);
}

TEST(HeldPicture, IsNothingBeforeTheFirstPicture) {
    Player player(media_path("plain.mp4"));
    EXPECT_LE(player.held().result, 0);
}

TEST(NullPicture, EveryReadingCallAnswers) {
    Player player(media_path("plain.mp4"));
    EXPECT_EQ(qmio_read_frame(player.handle(), nullptr), 0);
    EXPECT_EQ(imio_read_frame(player.handle(), nullptr), 0);
    EXPECT_EQ(imio_video_pkt(player.handle(), nullptr, nullptr), -1);
    EXPECT_EQ(imio_video_frame(player.handle(), nullptr), -1);
    EXPECT_EQ(player.read().number, 0) << "a refused call has taken something away";
}

TEST(SoundOnly, HasNoPictures) {
    Player player(media_path("tone.wav"));
    std::array<uint8_t, 4> buffer{};
    imio_picture picture{};
    EXPECT_EQ(qmio_read_frame(player.handle(), buffer.data()), 0);
    EXPECT_EQ(imio_read_frame(player.handle(), &picture), 0);
    EXPECT_EQ(qmio_video_pkt(player.handle(), buffer.data(), nullptr), -1);
    EXPECT_EQ(qmio_get_buf(player.handle(), buffer.data()), -1);
    EXPECT_EQ(qmio_is_valid_frame(player.handle(), 1), 0);
    EXPECT_EQ(qmio_get_frame(player.handle()), kAudioPacket) << "reading a picture has taken a packet away";
}

TEST(ValidFrame, IsOneThatIsNotBeforeTheStart) {
    Player player(media_path("mpeg4_no_bframes.avi"));
    ASSERT_EQ(qmio_get_frame(player.handle()), kVideoPacket);
    EXPECT_EQ(qmio_is_valid_frame(player.handle(), 1), 1);
    EXPECT_EQ(qmio_is_valid_frame(player.handle(), 2), 0);
    EXPECT_EQ(qmio_is_valid_frame(player.handle(), 0), 0);
    EXPECT_EQ(qmio_is_valid_frame(player.handle(), 3), 0);
}

TEST(ValidFrame, PacketsDecodedBeforeTheStartAreNone) {
    // With B-frames the first packets' decoding times lie before the first picture's time.
    Player player(media_path("bframes_open_gop.mp4"));
    ASSERT_EQ(qmio_get_frame(player.handle()), kVideoPacket);
    EXPECT_EQ(qmio_is_valid_frame(player.handle(), 1), 0);
    for (int packet = 0; packet < 5; ++packet) {
        qmio_release_frame(player.handle());
        ASSERT_EQ(qmio_get_frame(player.handle()), kVideoPacket);
    }
    EXPECT_EQ(qmio_is_valid_frame(player.handle(), 1), 1);
}

TEST(ValidFrame, SoundIsMeasuredAgainstTheVideoStart) {
    Player player(media_path("two_audio_tracks.mp4"));
    ASSERT_TRUE(next_packet(player.handle(), kAudioPacket));
    for (int packet = 0; packet < 10; ++packet) {
        qmio_release_frame(player.handle());
        ASSERT_TRUE(next_packet(player.handle(), kAudioPacket));
    }
    EXPECT_EQ(qmio_is_valid_frame(player.handle(), 2), 1);
}

}  // namespace
}  // namespace qmio::test
