// Delivery in order: every picture once, with the pixels that libswscale makes of what the ffmpeg program decodes.
#include <gtest/gtest.h>

#include <algorithm>

#include "read/results.h"
#include "support/media.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr std::size_t kMorePictures = 400;  // than any made file holds

struct MadeFile {
    const char* name;
    int first = 0;  // number that its first picture carries
};

void PrintTo(const MadeFile& file, std::ostream* out) {
    *out << file.name;
}

const MadeFile kMadeFiles[] = {
    {"plain.mp4"},
    {"bframes_open_gop.mp4"},
    {"long_gop.mp4"},
    {"h264.ts"},
    {"h264_open_gop.ts"},
    {"h264.mkv"},
    {"raw.h264"},
    {"fragmented.mp4"},
    {"intra_refresh.mp4"},
    {"starts_inside_gop.ts", 30},
    {"mpeg2.ts"},
    {"mpeg2.mpg"},
    {"raw.m2v"},
    {"mpeg4_bframes.avi"},
    {"mpeg4_no_bframes.avi"},
    {"hevc_open_gop.mp4"},
    {"hevc.ts"},
    {"vp9_alt_ref.webm"},
    {"vp8_alt_ref.webm"},
    {"mjpeg.avi"},
    {"prores.mov"},
    {"ffv1.mkv"},
    {"png.mkv"},
    {"numbers.gif"},
    {"rate_30000_1001.mp4"},
    {"rate_24000_1001.mkv"},
    {"rate_60.mkv"},
    {"vfr.mp4"},
    {"vfr.mkv"},
    {"starts_at_8s.mp4"},
    {"starts_at_8s.mkv"},
    {"starts_at_8s.ts"},
    {"edit_list.mp4", 26},
    {"h264_tff.mp4"},
    {"h264_bff.mp4"},
    {"mpeg2_tff.ts"},
    {"mpeg2_bff.ts"},
    {"width_200.mp4"},
    {"width_340.mp4"},
    {"width_426.mp4"},
    {"width_854.mp4"},
    {"odd_161x121.webm"},
    {"odd_163x91.mkv"},
    {"odd_161x120.mkv"},
    {"odd_322x91.mkv"},
    {"tiny_18x10.mkv"},
    {"still.png"},
    {"still.jpg"},
    {"still_alpha.png"},
    {"one_frame.mp4"},
    {"one_frame.avi"},
    {"alpha_ffv1.mkv"},
    {"alpha_prores.mov"},
    {"alpha_qtrle.mov"},
    {"ten_bit.mp4"},
    {"full_range_444.mp4"},
    {"gray.mkv"},
    {"rgb24.avi"},
    {"zero_padding.nut"},
    {"two_audio_tracks.mp4"},
    {"seventeen_audio_tracks.mkv"},
    {"cover_picture.flac"},
    {"live_h264.mkv"},
    {"live_hevc.mkv"},
    {"live_mpeg2.mkv"},
    {"live_mpeg4.mkv"},
    {"live_vp8.mkv"},
};

class MadeMedia : public testing::TestWithParam<MadeFile> {};

TEST_P(MadeMedia, DeliversEveryPictureThatTheFfmpegProgramDecodes) {
    const auto references = made_references(GetParam().name);
    ASSERT_FALSE(references.empty());
    Player player(media_path(GetParam().name));
    ASSERT_TRUE(player.is_open());
    EXPECT_EQ(difference(player.read_rest(kMorePictures), references), "");
}

TEST_P(MadeMedia, DeliversTheSameByPackets) {
    Player player(media_path(GetParam().name));
    ASSERT_TRUE(player.is_open());
    EXPECT_EQ(difference(player.read_rest_by_packets(kMorePictures), made_references(GetParam().name)), "");
}

TEST_P(MadeMedia, PicturesCarryTheirNumbersInOrder) {
    Player player(media_path(GetParam().name));
    ASSERT_TRUE(player.is_open());
    const auto delivered = numbers(player.read_rest(kMorePictures));
    EXPECT_EQ(delivered, numbers_from(GetParam().first, static_cast<int>(delivered.size())));
}

INSTANTIATE_TEST_SUITE_P(Delivery, MadeMedia, testing::ValuesIn(kMadeFiles),
                         [](const auto& made) { return test_name(made.param.name); });

// The first picture's result and whether it came from reading or from draining.
Picture first_picture(Player& player) {
    const Picture read = player.read();
    return read.result != 0 ? read : player.drain();
}

TEST(FieldResult, SevenForProgressivePictures) {
    for (const char* name : {"plain.mp4", "mpeg2.ts", "still.png", "vp8_alt_ref.webm"}) {
        Player player(media_path(name));
        EXPECT_EQ(first_picture(player).result, kProgressive) << name;
    }
}

TEST(FieldResult, ThreeForTopFieldFirst) {
    for (const char* name : {"h264_tff.mp4", "mpeg2_tff.ts"}) {
        Player player(media_path(name));
        EXPECT_EQ(first_picture(player).result, kTopFieldFirst) << name;
    }
}

TEST(FieldResult, FiveForBottomFieldFirst) {
    for (const char* name : {"h264_bff.mp4", "mpeg2_bff.ts"}) {
        Player player(media_path(name));
        EXPECT_EQ(first_picture(player).result, kBottomFieldFirst) << name;
    }
}

TEST(StillImage, IsDeliveredByTheFirstRead) {
    for (const char* name : {"still.png", "still.jpg", "still_alpha.png"}) {
        Player player(media_path(name));
        EXPECT_EQ(player.frame_count(), 1) << name;
        EXPECT_EQ(player.read().result, kProgressive) << name;
        EXPECT_EQ(player.read().result, 0) << name;
    }
}

TEST(StillImage, IsNotDecodedAgainWhileItIsHeld) {
    Player player(media_path("still.png"));
    ASSERT_EQ(player.read().result, kProgressive);
    EXPECT_EQ(qmio_seek_frame(player.handle(), 0), 0);
    EXPECT_EQ(player.drain().result, kSingleFrame);
    const auto references = made_references("still.png");
    const Picture held = player.held();
    EXPECT_EQ(held.result, player.height());
    EXPECT_EQ(held.hash, references.at(0).hash);
}

TEST(StillImage, ASeekByTimeWantsTheHeldPictureAgain) {
    Player player(media_path("still.jpg"));
    ASSERT_EQ(player.read().result, kProgressive);
    EXPECT_EQ(qmio_seek_ts(player.handle(), 12345, 1), 0);
    EXPECT_EQ(player.drain().result, kSingleFrame);
}

TEST(SingleFrameVideo, ADelayingDecoderGivesItsPictureToTheFirstRead) {
    Player player(media_path("one_frame.avi"));
    EXPECT_EQ(player.frame_count(), 1);
    EXPECT_EQ(player.read().result, kProgressive);
}

TEST(EndOfInput, ReadingLeavesDelayedPicturesToTheDrain) {
    Player player(media_path("bframes_open_gop.mp4"));
    std::size_t read = 0;
    while (player.read().result > 0)
        ++read;
    std::size_t drained = 0;
    while (player.drain().result > 0)
        ++drained;
    EXPECT_GT(drained, 0U);
    EXPECT_EQ(read + drained, made_references("bframes_open_gop.mp4").size());
}

TEST(EndOfInput, ReadingAndDrainingStayAtTheEnd) {
    Player player(media_path("plain.mp4"));
    player.read_rest(kMorePictures);
    for (int again = 0; again < 3; ++again) {
        EXPECT_EQ(player.read().result, 0);
        EXPECT_EQ(player.drain().result, 0);
    }
}

// A handle that has delivered the first ten pictures; its decoder holds some that follow.
class DrainInTheMiddle : public testing::Test {
  protected:
    void SetUp() override {
        for (int number = 0; number < kRead; ++number)
            ASSERT_EQ(player_.read().number, number);
    }

    Picture picture_of_next_packet() {
        EXPECT_EQ(qmio_get_frame(player_.handle()), 1);
        const Picture picture = player_.decode_packet();
        qmio_release_frame(player_.handle());
        return picture;
    }

    static constexpr int kRead = 10;
    // Eight threads hold seven pictures more than B-frames do.
    Player player_{media_path("long_gop.mp4"), L"threads=8"};
};

TEST_F(DrainInTheMiddle, GivesTheDelayedPicturesAndThenNone) {
    int next = kRead;
    for (Picture picture = player_.drain(); picture.result > 0; picture = player_.drain())
        ASSERT_EQ(picture.number, next++);
    EXPECT_GT(next, kRead + 1) << "the decoder held nothing to be drained";
    EXPECT_LT(next, 100);
}

TEST_F(DrainInTheMiddle, PicturesNotYetDrainedComeBeforeThoseOfNewPackets) {
    Player other(media_path("long_gop.mp4"), L"threads=8");
    for (int number = 0; number < kRead; ++number)
        other.read();
    int held = 0;
    while (other.drain().result > 0)
        ++held;
    ASSERT_GT(held, 1);
    EXPECT_EQ(player_.drain().number, kRead);
    for (int number = kRead + 1; number < kRead + held; ++number)
        EXPECT_EQ(number % 2 == 0 ? player_.read().number : picture_of_next_packet().number, number);
}

TEST_F(DrainInTheMiddle, ASeekForgetsWhatWasNotYetDrained) {
    EXPECT_EQ(player_.drain().number, kRead);
    EXPECT_EQ(picture_of_next_packet().number, kRead + 1);
    EXPECT_EQ(qmio_seek_frame(player_.handle(), 150), 150);
    const auto references = made_references("long_gop.mp4");
    for (std::size_t frame = 150; frame < 160; ++frame)
        ASSERT_EQ(player_.read().hash, references[frame].hash);
}

TEST(DrainOfIndependentPictures, LosesNone) {
    Player player(media_path("mjpeg.avi"));
    const auto references = made_references("mjpeg.avi");
    std::vector<Picture> pictures;
    for (int round = 0; round < 4; ++round) {
        for (int read = 0; read < 5; ++read)
            pictures.push_back(player.read());
        for (Picture picture = player.drain(); picture.result > 0; picture = player.drain())
            pictures.push_back(picture);
    }
    const std::vector<Picture> rest = player.read_rest(kMorePictures);
    pictures.insert(pictures.end(), rest.begin(), rest.end());
    EXPECT_EQ(difference(pictures, references), "");
}

TEST(DecoderError, IsTheResultAndTheNextPictureFollows) {
    Bytes bytes = read_bytes(media_path("prores.mov"));
    const std::string signature = "icpf";  // at the head of every picture
    auto place = bytes.begin();
    for (int picture = 0; picture < 4; ++picture) {
        place = std::search(place + 1, bytes.end(), signature.begin(), signature.end(),
                            [](uint8_t byte, char letter) { return byte == static_cast<uint8_t>(letter); });
        ASSERT_NE(place, bytes.end());
    }
    *place = 0;
    const TempDir folder;
    write_bytes(folder / "damaged.mov", bytes);
    Player player(folder / "damaged.mov");
    std::vector<int> results;
    std::vector<int> delivered;
    for (Picture picture = player.read(); picture.result != 0 && results.size() < 100; picture = player.read()) {
        results.push_back(picture.result);
        if (picture.result > 0)
            delivered.push_back(picture.number);
    }
    EXPECT_EQ(std::count(results.begin(), results.end(), kDecoderError), 1);
    while (delivered.size() < 100) {
        const Picture picture = player.drain();
        if (picture.result <= 0)
            break;
        delivered.push_back(picture.number);
    }
    std::vector<int> expected = numbers_from(0, 20);
    expected.erase(expected.begin() + 3);
    EXPECT_EQ(delivered, expected);
}

TEST(SizeChange, PicturesStayWithinTheBufferAndNoneIsLost) {
    for (const char* name : {"size_grows.ts", "size_shrinks.ts"}) {
        Player player(media_path(name));
        ASSERT_TRUE(player.is_open()) << name;
        std::vector<int> expected = numbers_from(0, 20);
        const std::vector<int> second = expected;
        expected.insert(expected.end(), second.begin(), second.end());
        EXPECT_EQ(numbers(player.read_rest(kMorePictures)), expected) << name;
    }
}

TEST(TwoHandles, ReadTheSameFileIndependently) {
    const auto references = made_references("bframes_open_gop.mp4");
    Player first(media_path("bframes_open_gop.mp4"));
    Player second(media_path("bframes_open_gop.mp4"));
    second.read();
    second.read();
    for (std::size_t index = 0; index < 60; ++index) {
        ASSERT_EQ(first.read().hash, references[index].hash);
        ASSERT_EQ(second.read().hash, references[index + 2].hash);
    }
}

}  // namespace
}  // namespace qmio::test
