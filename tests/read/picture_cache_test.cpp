// Pictures that are kept for seeking: which of them answer a seek, what they may take, and when they are given back.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/handle/media_handle.h"
#include "core/process/settings.h"
#include "ffmpeg/picture.h"
#include "read/picture_cache.h"
#include "support/media.h"

namespace qmio::test {
namespace {

using read::kept_bytes;
using read::PictureCache;

// The configured MiB for the time of a test.
class Budget {
  public:
    explicit Budget(int32_t mebibytes) : before_(std::exchange(setting(), mebibytes)) {}
    Budget(const Budget&) = delete;
    Budget& operator=(const Budget&) = delete;
    ~Budget() { setting() = before_; }

  private:
    // The settings are read-only to the library, not to its tests.
    static int32_t& setting() { return const_cast<Settings&>(settings()).frame_cache; }

    int32_t before_;
};

ffmpeg::FramePtr make_picture(int width, int height) {
    ffmpeg::FramePtr frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_GRAY8;
    frame->width = width;
    frame->height = height;
    av_frame_get_buffer(frame.get(), 0);
    return frame;
}

int number_of(const PictureCache::Kept* kept) {
    return kept != nullptr ? kept->number : kNoFrame;
}

TEST(PictureCache, GivesThePictureOfTheNumber) {
    PictureCache cache;
    const ffmpeg::FramePtr picture = make_picture(64, 64);
    cache.keep(*picture, 7, kNoFrame);
    ASSERT_EQ(number_of(cache.find(7)), 7);
    EXPECT_EQ(cache.find(7)->frame->data[0], picture->data[0]) << "it was copied";
    EXPECT_EQ(cache.find(6), nullptr) << "what comes before 7 is not known";
    EXPECT_EQ(cache.find(8), nullptr);
}

TEST(PictureCache, GivesTheOneBehindAGapOfNumbers) {
    PictureCache cache;
    const ffmpeg::FramePtr picture = make_picture(64, 64);
    cache.keep(*picture, 3, kNoFrame);
    cache.keep(*picture, 7, 3);
    EXPECT_EQ(number_of(cache.find(4)), 7);
    EXPECT_EQ(number_of(cache.find(3)), 3);
    EXPECT_EQ(number_of(cache.find_next(3)), 7);
    EXPECT_EQ(cache.find_next(7), nullptr);
}

TEST(PictureCache, TheOldestGoesFirst) {
    const Budget budget(1);
    const ffmpeg::FramePtr picture = make_picture(512, 500);
    PictureCache cache;
    const auto fitting = static_cast<int32_t>((1 << 20) / ffmpeg::memory_of(*picture));
    ASSERT_GE(fitting, 2);
    ASSERT_EQ(cache.capacity_for(*picture), fitting);
    for (int32_t number = 0; number <= fitting; ++number)
        cache.keep(*picture, number, number - 1);
    EXPECT_EQ(cache.find(0), nullptr);
    EXPECT_EQ(number_of(cache.find(1)), 1);
    EXPECT_EQ(number_of(cache.find(fitting)), fitting);
    EXPECT_LE(kept_bytes(), 1 << 20);
}

TEST(PictureCache, OneThatGetsNoRoomKeepsNothing) {
    const Budget budget(1);
    const ffmpeg::FramePtr large = make_picture(800, 800);
    auto first = std::make_unique<PictureCache>();
    first->keep(*large, 1, kNoFrame);
    PictureCache second;
    second.keep(*large, 2, kNoFrame);
    EXPECT_EQ(second.find(2), nullptr);
    EXPECT_EQ(number_of(first->find(1)), 1) << "another source's picture went";
    first.reset();
    EXPECT_EQ(kept_bytes(), 0);
    second.keep(*large, 2, kNoFrame);
    EXPECT_EQ(number_of(second.find(2)), 2);
}

TEST(PictureCache, PicturesOfNoMemoryOfTheirOwnAreNotKept) {
    PictureCache cache;
    const ffmpeg::FramePtr none(av_frame_alloc());
    cache.keep(*none, 1, kNoFrame);
    EXPECT_EQ(cache.find(1), nullptr);
}

// ---- of handles ----

void step_back(Player& player, int from, int steps) {
    for (int frame = from; frame > from - steps; --frame)
        ASSERT_EQ(player.read_at(frame).number, frame);
}

TEST(KeptPictures, AreNoneWhileAHostReadsInOrder) {
    Player player(media_path("long_gop.mp4"));
    EXPECT_EQ(player.read_rest(400).size(), 300U);
    EXPECT_EQ(kept_bytes(), 0);
    EXPECT_EQ(player.handle()->reading.jog, nullptr);
}

TEST(KeptPictures, AreGivenBackByClosing) {
    {
        Player player(media_path("long_gop.mp4"));
        step_back(player, 110, 3);
        EXPECT_GT(kept_bytes(), 0);
    }
    EXPECT_EQ(kept_bytes(), 0);
}

TEST(KeptPictures, AreGivenBackByCancelling) {
    Player player(media_path("long_gop.mp4"));
    step_back(player, 110, 3);
    EXPECT_GT(kept_bytes(), 0);
    qmio_cancel(player.handle());
    EXPECT_EQ(kept_bytes(), 0);
    EXPECT_EQ(qmio_seek_frame(player.handle(), 109), 0);
    EXPECT_EQ(player.read().result, 0);
}

TEST(KeptPictures, AreNoneWhereTheConfigurationSaysSo) {
    const Budget budget(0);
    Player player(media_path("long_gop.mp4"));
    step_back(player, 110, 5);
    EXPECT_EQ(kept_bytes(), 0);
    EXPECT_EQ(player.handle()->reading.jog, nullptr);
}

TEST(KeptPictures, OfManyHandlesStayInsideTheBudget) {
    const Budget budget(2);
    std::vector<std::unique_ptr<Player>> players(20);
    for (std::unique_ptr<Player>& player : players)
        player = std::make_unique<Player>(media_path("long_gop.mp4"));
    for (int frame = 40; frame > 30; --frame)
        for (const std::unique_ptr<Player>& player : players) {
            ASSERT_EQ(player->read_at(frame).number, frame);
            ASSERT_LE(kept_bytes(), 2 << 20);
        }
    EXPECT_GT(kept_bytes(), 1 << 20);
}

// ---- what is not done ----

int64_t position_in(const Player& player) {
    return player.handle()->container.format_ctx->pb->pos;
}

uint32_t decoder_pass(const Player& player) {
    return player.handle()->reading.decoder.pass();
}

TEST(Jogging, StepsBackThroughAGroupOfPicturesThatWasDecodedOnce) {
    Player player(media_path("long_gop.mp4"));
    step_back(player, 110, 2);
    const uint32_t pass = decoder_pass(player);
    const int64_t position = position_in(player);
    step_back(player, 108, 100);
    EXPECT_EQ(decoder_pass(player), pass) << "it was sought";
    EXPECT_EQ(position_in(player), position);
}

TEST(Jogging, ExpectsAHostThatWentBackAroundAPlaceToGoBackAroundTheNext) {
    Player player(media_path("long_gop.mp4"));
    step_back(player, 50, 13);
    ASSERT_EQ(player.read_at(220).number, 220);
    const uint32_t pass = decoder_pass(player);
    step_back(player, 219, 12);
    EXPECT_EQ(decoder_pass(player), pass) << "it was sought";
    ASSERT_EQ(player.read_at(207).number, 207);
    EXPECT_GT(decoder_pass(player), pass) << "more than that was decoded whole";
}

TEST(Jogging, LeapsForwardWithoutSeeking) {
    Player player(media_path("long_gop.mp4"));
    ASSERT_EQ(player.read_at(10).number, 10);
    const uint32_t pass = decoder_pass(player);
    for (int frame = 15; frame < 119; frame += 5)
        ASSERT_EQ(player.read_at(frame).number, frame);
    EXPECT_EQ(decoder_pass(player), pass);
}

TEST(Jogging, GoesOnBeyondWhatIsKeptAfterGoingBack) {
    Player player(media_path("long_gop.mp4"));
    ASSERT_EQ(player.read_at(40).number, 40);
    for (int frame = 41; frame < 53; ++frame)
        ASSERT_EQ(player.read().number, frame);
    const uint32_t pass = decoder_pass(player);
    for (const int frame : {45, 40, 52, 53, 41, 54, 60})
        ASSERT_EQ(player.read_at(frame).number, frame);
    EXPECT_EQ(decoder_pass(player), pass);
}

TEST(Jogging, ReadsOnBehindAKeptPicture) {
    Player player(media_path("long_gop.mp4"));
    step_back(player, 110, 3);
    const std::vector<Picture> rest = player.read_rest(400);
    EXPECT_EQ(numbers(rest), numbers_from(109, 191));
}

TEST(Jogging, PutsContainerAndDecoderInPlaceForPackets) {
    Player kept(media_path("two_audio_tracks.mp4"));
    step_back(kept, 60, 20);
    const Budget budget(0);
    Player plain(media_path("two_audio_tracks.mp4"));
    ASSERT_EQ(plain.read_at(41).number, 41);
    EXPECT_EQ(qmio_get_stream_param(kept.handle(), "frame_pos", 0),
              qmio_get_stream_param(plain.handle(), "frame_pos", 0));
    for (int number = 0; number < 40; ++number) {
        const int kind = qmio_get_frame(kept.handle());
        ASSERT_EQ(kind, qmio_get_frame(plain.handle()));
        if (kind == QMIO_PACKET_VIDEO) {
            ASSERT_EQ(kept.decode_packet().hash, plain.decode_packet().hash);
        }
        qmio_release_frame(kept.handle());
        qmio_release_frame(plain.handle());
    }
}

}  // namespace
}  // namespace qmio::test
