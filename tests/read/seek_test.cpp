// Seeking: after a seek to a frame number the next picture is that frame, with the bytes that reading in order gives.
#include <gtest/gtest.h>

#include "support/access_patterns.h"
#include "support/media.h"
#include "support/numbered_picture.h"

namespace qmio::test {
namespace {

constexpr std::size_t kMorePictures = 400;  // than any made file holds

// Files whose pictures are evenly spaced, so that a picture's number is its place in order.
const char* const kEvenlySpaced[] = {
    "plain.mp4",
    "bframes_open_gop.mp4",
    "long_gop.mp4",
    "h264.ts",
    "h264_open_gop.ts",
    "h264.mkv",
    "fragmented.mp4",
    "intra_refresh.mp4",
    "mpeg2.ts",
    "mpeg2.mpg",

    "mpeg4_no_bframes.avi",
    "hevc_open_gop.mp4",
    "hevc.ts",
    "vp9_alt_ref.webm",
    "vp8_alt_ref.webm",
    "mjpeg.avi",
    "prores.mov",
    "ffv1.mkv",
    "png.mkv",
    "numbers.gif",
    "rate_30000_1001.mp4",
    "rate_24000_1001.mkv",
    "rate_60.mkv",
    "starts_at_8s.mp4",
    "starts_at_8s.mkv",
    "starts_at_8s.ts",
    "edit_list.mp4",
    "h264_tff.mp4",
    "h264_bff.mp4",
    "mpeg2_tff.ts",
    "mpeg2_bff.ts",
    "width_200.mp4",
    "width_426.mp4",
    "odd_161x121.webm",
    "alpha_ffv1.mkv",
    "alpha_prores.mov",
    "ten_bit.mp4",
    "rgb24.avi",
    "zero_padding.nut",
    "two_audio_tracks.mp4",
    "seventeen_audio_tracks.mkv",
};

class EvenlySpaced : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        references_ = made_references(GetParam());
        ASSERT_GT(references_.size(), 1U);
        ASSERT_TRUE(player_.is_open());
    }

    int count() const { return static_cast<int>(references_.size()); }

    void expect_frames(const std::vector<int>& frames) {
        for (const int frame : frames) {
            ASSERT_EQ(qmio_seek_frame(player_.handle(), frame), frame);
            const Picture picture = player_.read();
            ASSERT_EQ(picture.hash, references_[static_cast<std::size_t>(frame)].hash)
                << "frame " << frame << ": result " << picture.result << ", the picture carries " << picture.number;
        }
    }

    std::vector<Reference> references_;
    Player player_{media_path(GetParam())};
};

TEST_P(EvenlySpaced, EveryFrameIsReachedForwards) {
    expect_frames(forwards(count(), 40));
}

TEST_P(EvenlySpaced, EveryFrameIsReachedBackwards) {
    expect_frames(backwards(count(), 40));
}

TEST_P(EvenlySpaced, EveryFrameIsReachedInAnyOrder) {
    const RandomOrder order(count(), 30);
    SCOPED_TRACE(order.description());
    expect_frames(order.frames());
}

TEST_P(EvenlySpaced, ReadingGoesOnFromTheFrameThatWasSought) {
    for (const int frame : {count() / 2, count() / 3, count() - 3}) {
        ASSERT_EQ(qmio_seek_frame(player_.handle(), frame), frame);
        const std::vector<Reference> rest(references_.begin() + frame, references_.end());
        ASSERT_EQ(difference(player_.read_rest(kMorePictures), rest), "") << "from frame " << frame;
    }
}

// Without the way back to an earlier key frame some demuxers refuse: Matroska's index ends at the last key frame.
TEST_P(EvenlySpaced, TheExactVariantReachesTheSameFramesOrRefuses) {
    const RandomOrder order(count(), 10);
    SCOPED_TRACE(order.description());
    for (const int frame : order.frames()) {
        const int answer = qmio_seek_frame_ex(player_.handle(), frame);
        if (answer == -1)
            continue;
        ASSERT_EQ(answer, frame);
        ASSERT_EQ(player_.read().hash, references_[static_cast<std::size_t>(frame)].hash) << "frame " << frame;
    }
}

TEST_P(EvenlySpaced, TheLastFrameIsReachedAndThenTheEnd) {
    ASSERT_EQ(qmio_seek_frame(player_.handle(), count() - 1), count() - 1);
    EXPECT_EQ(player_.read().hash, references_.back().hash);
    EXPECT_EQ(player_.read_rest(kMorePictures).size(), 0U);
}

TEST_P(EvenlySpaced, PastTheEndIsNothingAndTheWayBackIsOpen) {
    const int past = count() + 50;
    EXPECT_EQ(qmio_seek_frame(player_.handle(), past), past);
    EXPECT_EQ(player_.read().result, 0);
    EXPECT_EQ(player_.read().result, 0);
    EXPECT_EQ(player_.read_at(count() / 2).hash, references_[references_.size() / 2].hash);
}

TEST_P(EvenlySpaced, SeekingWorksAfterADrain) {
    player_.read_rest(kMorePictures);
    for (const int frame : {count() / 2, 0})
        EXPECT_EQ(player_.read_at(frame).hash, references_[static_cast<std::size_t>(frame)].hash) << "frame " << frame;
    EXPECT_EQ(player_.read_rest(kMorePictures).size(), references_.size() - 1);
}

INSTANTIATE_TEST_SUITE_P(SeekFrame, EvenlySpaced, testing::ValuesIn(kEvenlySpaced),
                         [](const auto& made) { return test_name(made.param); });

// ---- What a seek answers ------------------------------------------------------------------------------------------

TEST(SeekFrame, NegativeNumberGoesToFrameZero) {
    Player player(media_path("plain.mp4"));
    for (int number = 0; number < 10; ++number)
        player.read();
    EXPECT_EQ(qmio_seek_frame(player.handle(), -5), 0);
    EXPECT_EQ(player.read().number, 0);
    player.read();
    EXPECT_EQ(qmio_seek_frame_ex(player.handle(), -5), 0);
    EXPECT_EQ(player.read().number, 0);
}

TEST(SeekFrame, ToTheStartOfAFreshHandleChangesNothing) {
    Player player(media_path("long_gop.mp4"));
    EXPECT_EQ(qmio_seek_frame(player.handle(), 0), 0);
    EXPECT_EQ(difference(player.read_rest(kMorePictures), made_references("long_gop.mp4")), "");
}

TEST(SeekFrame, FarBehindTheEndIsNothing) {
    for (const char* name : {"h264.ts", "mpeg4_no_bframes.avi", "plain.mp4"}) {
        Player player(media_path(name));
        qmio_seek_frame(player.handle(), INT32_MAX);
        EXPECT_EQ(player.read().result, 0) << name;
        EXPECT_EQ(player.read_at(3).number, 3) << name;
    }
}

TEST(SeekFrame, WhatTheHostChoseToSkipStaysSkipped) {
    Player player(media_path("plain.mp4"), L"skip_frame=nokey");
    EXPECT_EQ(numbers(player.read_rest(1000)), (std::vector<int>{0, 50, 100}));
    EXPECT_EQ(player.read_at(60).number, 100);
    qmio_seek_ts(player.handle(), 0, 1);
    EXPECT_EQ(numbers(player.read_rest(1000)), (std::vector<int>{0, 50, 100}));
}

TEST(SeekFrame, ASecondSeekReplacesTheFirst) {
    Player player(media_path("plain.mp4"));
    qmio_seek_frame(player.handle(), 120);
    EXPECT_EQ(player.read_at(30).number, 30);
    qmio_seek_frame(player.handle(), 30);
    EXPECT_EQ(player.read_at(120).number, 120);
    qmio_seek_frame(player.handle(), 140);
    EXPECT_EQ(player.read_at(0).number, 0);
}

TEST(SeekFrame, TheSameFrameIsReachedAgainAndAgain) {
    Player player(media_path("bframes_open_gop.mp4"));
    const auto references = made_references("bframes_open_gop.mp4");
    for (int again = 0; again < 4; ++again)
        EXPECT_EQ(player.read_at(47).hash, references.at(47).hash);
}

TEST(SeekFrame, ThePictureStaysHeldAfterIt) {
    Player player(media_path("plain.mp4"));
    const uint64_t sought = player.read_at(77).hash;
    EXPECT_EQ(player.held().hash, sought);
}

TEST(SeekFrame, PicturesGoIntoARecordOfAnotherSize) {
    Player player(media_path("plain.mp4"));
    Bytes memory(static_cast<std::size_t>(160) * 96 * 4);
    imio_picture picture{};
    picture.data = memory.data();
    picture.width = 160;
    picture.height = 96;
    picture.line_size = 160 * 4;
    picture.alignment = 1;
    for (const int frame : {77, 3, 149}) {
        qmio_seek_frame(player.handle(), frame);
        ASSERT_GT(imio_read_frame(player.handle(), &picture), 0);
        EXPECT_EQ(read_number(memory.data(), 160, 96, 160 * 4), frame);
    }
}

TEST(SeekFrame, PacketsAreDecodedFromTheKeyFrameOn) {
    Player player(media_path("plain.mp4"));
    ASSERT_EQ(qmio_seek_frame(player.handle(), 77), 77);
    EXPECT_EQ(numbers(player.read_rest_by_packets(kMorePictures)), numbers_from(50, 100));
}

TEST(SeekFrame, TwoHandlesSeekIndependently) {
    Player first(media_path("plain.mp4"));
    Player second(media_path("plain.mp4"));
    const RandomOrder order(150, 25);
    SCOPED_TRACE(order.description());
    for (const int frame : order.frames()) {
        qmio_seek_frame(first.handle(), frame);
        qmio_seek_frame(second.handle(), 149 - frame);
        ASSERT_EQ(first.read().number, frame);
        ASSERT_EQ(second.read().number, 149 - frame);
    }
}

TEST(SeekFrame, ReadingAndSeekingInterleave) {
    Player player(media_path("bframes_open_gop.mp4"));
    const auto references = made_references("bframes_open_gop.mp4");
    const RandomOrder order(115, 20);
    SCOPED_TRACE(order.description());
    for (const int frame : order.frames()) {
        qmio_seek_frame(player.handle(), frame);
        for (int next = frame; next < frame + 4; ++next)
            ASSERT_EQ(player.read().hash, references[static_cast<std::size_t>(next)].hash) << "frame " << next;
    }
}

// ---- Sources without evenly spaced pictures -----------------------------------------------------------------------

TEST(UnevenPictures, ANumberInAGapGivesTheNextPicture) {
    // The pictures stand at 0, 1, 2, 4, 5, 6, 8 ... 25ths of a second, and the rate found is not 25: the order in
    // which growing numbers deliver pictures must still never go back, and end at the last picture. Where a file does
    // not tell how long its last picture lasts, that one and the one before it come by reading on.
    for (const char* name : {"vfr.mp4", "vfr.mkv"}) {
        Player player(media_path(name));
        int last = -1;
        for (int frame = 0; frame < 200; ++frame) {
            const Picture picture = player.read_at(frame);
            if (picture.result <= 0)
                break;
            ASSERT_GE(picture.number, last) << name << " frame " << frame;
            last = picture.number;
        }
        const auto pictures = static_cast<int>(made_references(name).size());
        EXPECT_GE(last, pictures - 3) << name;
        for (Picture picture = player.read(); picture.result > 1; picture = player.read())
            ASSERT_EQ(picture.number, ++last) << name;
        for (Picture picture = player.drain(); picture.result > 1; picture = player.drain())
            ASSERT_EQ(picture.number, ++last) << name;
        EXPECT_EQ(last, pictures - 1) << name;
    }
}

TEST(SeekFrameEx, ReachesEveryFrameWhereTheDemuxerKnowsEveryPacket) {
    for (const char* name : {"plain.mp4", "bframes_open_gop.mp4", "mpeg4_no_bframes.avi", "h264.ts"}) {
        Player player(media_path(name));
        for (const int frame : {70, 3, 85, 84, 0, 30}) {
            ASSERT_EQ(qmio_seek_frame_ex(player.handle(), frame), frame) << name;
            EXPECT_EQ(player.read().number, frame) << name;
        }
    }
}

TEST(MissingTimes, DecodingTimesNumberThePictures) {
    // AVI tells no presentation times. With B-frames a picture comes out one packet later, so the decoding times that
    // number it run one ahead of its place.
    Player player(media_path("mpeg4_bframes.avi"));
    for (const int frame : {1, 2, 50, 51, 7, 88, 40}) {
        ASSERT_EQ(qmio_seek_frame(player.handle(), frame), frame);
        EXPECT_EQ(player.read().number, frame - 1);
    }
}

TEST(OneFrameSource, IsNotSought) {
    // Without a known duration a source counts as one frame; a seek leaves it where it stands.
    Player player(media_path("live_h264.mkv"));
    EXPECT_EQ(player.frame_count(), 1);
    for (int number = 0; number < 5; ++number)
        ASSERT_EQ(player.read().number, number);
    EXPECT_EQ(qmio_seek_frame(player.handle(), 40), 0);
    EXPECT_EQ(player.read().number, 5);
}

int packets_to_the_end(MediaHandle* handle) {
    int packets = 0;
    while (qmio_get_frame(handle) >= 0) {
        qmio_release_frame(handle);
        ++packets;
    }
    return packets;
}

TEST(SoundOnly, EveryFrameSeekRewinds) {
    Player player(media_path("tone.wav"));
    const int packets = packets_to_the_end(player.handle());
    ASSERT_GT(packets, 10);
    for (const auto seek : {qmio_seek_frame, qmio_seek_frame_ex, qmio_seek_frame_ex_old}) {
        EXPECT_EQ(seek(player.handle(), 20), 0);
        EXPECT_EQ(packets_to_the_end(player.handle()), packets);
    }
}

// ---- The old variant, and seeking by time ---------------------------------------------------------------------------

TEST(SeekFrameExOld, OnTheWantedFrameIsAlreadyThere) {
    Player player(media_path("plain.mp4"));
    for (int number = 0; number < 10; ++number)
        player.read();
    EXPECT_EQ(qmio_seek_frame_ex_old(player.handle(), 10), 10);
    EXPECT_EQ(player.read().number, 10);
}

TEST(SeekFrameExOld, AnswersTheFrameOfAFileThatCanBeSought) {
    Player player(media_path("mjpeg.avi"));
    EXPECT_EQ(qmio_seek_frame_ex_old(player.handle(), 25), 25);
    EXPECT_EQ(player.read().number, 25);
}

TEST(SeekFrameExOld, OfOneFrameIsZero) {
    Player player(media_path("still.png"));
    EXPECT_EQ(qmio_seek_frame_ex_old(player.handle(), 7), 0);
}

// One picture of plain.mp4 in the time base of its stream.
constexpr int64_t kPictureTime = 512;

TEST(SeekTimestamp, AnswersTheTimeAndReadsFromTheKeyFrameBefore) {
    Player player(media_path("plain.mp4"));
    EXPECT_EQ(qmio_seek_ts(player.handle(), 77 * kPictureTime, 1), 77 * kPictureTime);
    EXPECT_EQ(numbers(player.read_rest(kMorePictures)), numbers_from(50, 100));
}

TEST(SeekTimestamp, ForgetsTheFrameThatWasSought) {
    Player player(media_path("plain.mp4"));
    ASSERT_EQ(qmio_seek_frame(player.handle(), 140), 140);
    ASSERT_EQ(qmio_seek_ts(player.handle(), 60 * kPictureTime, 1), 60 * kPictureTime);
    EXPECT_EQ(player.read().number, 50);
    EXPECT_EQ(player.read().number, 51);
}

TEST(SeekTimestamp, WorksAfterADrain) {
    Player player(media_path("plain.mp4"));
    player.read_rest(kMorePictures);
    ASSERT_EQ(qmio_seek_ts(player.handle(), 100 * kPictureTime, 1), 100 * kPictureTime);
    EXPECT_EQ(player.read().number, 100);
}

TEST(SeekTimestamp, BySoundMovesThePicturesToo) {
    Player player(media_path("two_audio_tracks.mp4"));
    const int64_t between_key_frames = 4 * 44100 + 22050;
    EXPECT_EQ(qmio_seek_ts(player.handle(), between_key_frames, 2), between_key_frames);
    EXPECT_EQ(player.read().number, 100);
}

TEST(SeekTimestamp, HasNoOtherKindsOfStream) {
    Player player(media_path("plain.mp4"));
    for (const int kind : {0, 3, -1})
        EXPECT_EQ(qmio_seek_ts(player.handle(), 77 * kPictureTime, kind), 0);
    EXPECT_EQ(qmio_seek_ts(player.handle(), 77 * kPictureTime, 2), 0) << "there is no sound";
    EXPECT_EQ(player.read().number, 0);
}

TEST(SeekTimestamp, OfSoundOnlyHasNoVideoToSeek) {
    Player player(media_path("tone.wav"));
    EXPECT_EQ(qmio_seek_ts(player.handle(), 48000, 1), 0);
    EXPECT_EQ(qmio_seek_ts(player.handle(), 48000, 2), 48000);
}

// The times of the packets of sound that reading meets first.
std::vector<int64_t> sound_times(const Media& media, std::size_t packets) {
    std::vector<int64_t> times;
    for (int kind = 0; times.size() < packets && (kind = qmio_get_frame(media.get())) > 0;) {
        qmio_time_param time{};
        if (kind == 2 && qmio_get_time_param(media.get(), "packet", &time) != 0)
            times.push_back(time.pts);
        qmio_release_frame(media.get());
    }
    return times;
}

TEST(SeekFrame, RewindsASoundFileUnlessItHasACover) {
    for (const char* name : {"tone.wav", "cover_picture.flac"}) {
        const bool has_cover = std::string(name) != "tone.wav";
        const Media media = open_media(media_path(name));
        ASSERT_TRUE(media) << name;
        const std::vector<int64_t> first = sound_times(media, 3);
        ASSERT_EQ(first.size(), 3U) << name;
        EXPECT_LT(first[0], first[2]);
        EXPECT_EQ(qmio_seek_frame(media.get(), 0), 0) << name;
        const std::vector<int64_t> again = sound_times(media, 1);
        ASSERT_EQ(again.size(), 1U) << name;
        EXPECT_EQ(again[0] > first[2], has_cover) << name;
        EXPECT_EQ(again[0] == first[0], !has_cover) << name;
    }
}

}  // namespace
}  // namespace qmio::test
