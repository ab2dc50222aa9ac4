// A source that is read in the background: what comes out.
#include "packet/background_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "packet/background_play.h"
#include "packet/reader_queue.h"
#include "support/made_pictures.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

using packet::Range;

// Where the passes of a loop overlap by more than what the queue holds back, the order hangs on who is faster.
TEST(BackgroundReader, GivesWhatReadingWithoutAThreadGives) {
    Dice dice(printed_seed(20261122));
    constexpr int32_t kLoops[] = {-1, 0, 1, 2, 3, 5};
    int left = runs_whole_sweep() ? 5000 : 500, undecided = 0;
    while (left > 0 && !HasFailure()) {
        const std::string_view file = dice.one_of(kFiles);
        const std::filesystem::path path = media_path(std::string(file));
        const Range range{any_time(dice), any_time(dice), any_time(dice), any_time(dice), dice.one_of(kLoops)};
        const std::vector<Seen> expected = modelled(path, range, kWaiting, kBound);
        const bool is_decided = modelled(path, range, kSlow, kBound) == expected;
        if (!is_decided) {
            ++undecided;
            continue;
        }
        --left;
        EXPECT_EQ(first_difference(taken(file, range, kBound), expected), "") << description(file, range);
    }
    std::cout << undecided << " settings hang on who is faster" << std::endl;
}

// ---- playing ----

class Loops : public testing::TestWithParam<const char*> {};

TEST_P(Loops, ShowEveryPictureOfEveryPass) {
    constexpr std::size_t kPasses = 5;
    for (const wchar_t* threads : kThreads) {
        Player once(media_path(GetParam()), threads), often(media_path(GetParam()), threads);
        ASSERT_TRUE(once.is_open() && often.is_open());
        qmio_fifo_frame(once.handle(), 20, 49, 20, 49, 1);
        qmio_fifo_frame(often.handle(), 20, 49, 20, 49, kPasses);
        const std::vector<Picture> pass = play(once).pictures;
        const Played loop = play(often);
        EXPECT_EQ(loop.sync_points, static_cast<int>(kPasses) - 1);
        ASSERT_GE(pass.size(), 20U);
        ASSERT_EQ(loop.pictures.size(), kPasses * pass.size());
        for (std::size_t number = 0; number < kPasses; ++number)
            EXPECT_EQ(hashes(loop.pictures, number * pass.size(), pass.size()), hashes(pass, 0, pass.size()));
    }
}

TEST_P(Loops, DeliverThePicturesOfReadingInOrder) {
    Player player(media_path(GetParam()), kOneThread);
    const std::vector<Picture> in_order = Player(media_path(GetParam()), kOneThread).read_rest(1000);
    qmio_fifo_frame(player.handle(), 0, 30, 0, 30, 3);
    const std::vector<Picture> played = play(player).pictures;
    const std::size_t count = played.size() / 3;
    ASSERT_GE(count, 25U);
    // The last pictures of a pass lack those that they refer to in the packets behind.
    EXPECT_EQ(hashes(played, count, 24), hashes(in_order, 0, 24));
    EXPECT_EQ(hashes(played, 2 * count, 24), hashes(in_order, 0, 24));
}

INSTANTIATE_TEST_SUITE_P(Of, Loops,
                         testing::Values("plain.mp4", "bframes_open_gop.mp4", "h264.ts", "h264_open_gop.ts", "hevc.ts",
                                         "hevc_open_gop.mp4", "mpeg2.ts", "mjpeg.avi", "long_gop.mp4", "h264.mkv",
                                         "vp9_alt_ref.webm", "vfr.mkv", "mpeg4_bframes.avi"),
                         [](const auto& parameter) { return test_name(parameter.param); });

TEST(BackgroundReader, ReadsToTheEndOfTheSource) {
    Player queued(media_path("plain.mp4"), kOneThread), plain(media_path("plain.mp4"), kOneThread);
    qmio_fifo_ts(queued.handle(), 0, -1, 0, -1, 1);
    EXPECT_EQ(hashes(play(queued).pictures, 0, 1000), hashes(plain.read_rest(1000), 0, 1000));
}

TEST(BackgroundReader, PicturesAreReadFromTheQueueToo) {
    Player queued(media_path("bframes_open_gop.mp4"), kOneThread),
        plain(media_path("bframes_open_gop.mp4"), kOneThread);
    qmio_fifo_ts(queued.handle(), 0, -1, 0, -1, 1);
    EXPECT_EQ(hashes(queued.read_rest(1000), 0, 1000), hashes(plain.read_rest(1000), 0, 1000));
}

TEST(BackgroundReader, TakingAfterTheEndGivesTheEndAgain) {
    Player player(media_path("plain.mp4"), kOneThread);
    qmio_fifo_frame(player.handle(), 0, 5, 0, 5, 1);
    play(player);
    for (int time = 0; time < 5; ++time)
        EXPECT_EQ(qmio_get_frame(player.handle()), -1);
}

TEST(BackgroundReader, OneLoopNeverWraps) {
    for (const int loops : {-5, 0, 1}) {
        Player player(media_path("plain.mp4"), kOneThread);
        qmio_fifo_frame(player.handle(), 0, 30, 0, 10, loops);
        EXPECT_EQ(play(player).sync_points, 0) << loops;
    }
}

TEST(BackgroundReader, TimesGoOnFromTheWrap) {
    const std::vector<Seen> all = taken("plain.mp4", {0, -1, 0, 1'000'000, 2}, kBound);
    const auto sync = std::find_if(all.begin(), all.end(), [](const Seen& seen) { return seen.type == 0; });
    ASSERT_NE(sync, all.end());
    EXPECT_GE(sync->time, 1'000'000);
    EXPECT_GE((sync + 1)->time, 1'000'000);
    EXPECT_EQ(std::count_if(all.begin(), all.end(), [](const Seen& seen) { return seen.type == 0; }), 1);
}

// Without the memory or the patience for all of it.
TEST(BackgroundReader, EndlessLoopsGoOn) {
    Player player(media_path("plain.mp4"), kOneThread);
    qmio_fifo_frame(player.handle(), 0, 10, 0, 10, packet::kEndless);
    int sync_points = 0;
    while (sync_points < 1000) {
        const int kind = qmio_get_frame(player.handle());
        ASSERT_GE(kind, 0);
        sync_points += kind == QMIO_PACKET_OTHER ? 1 : 0;
    }
    EXPECT_LE(player.handle()->reader_queue->queue.size(), packet::Queue::kCapacity);
}

TEST(BackgroundReader, MarksAtTheEndOfTheirRangeAreNoOverflow) {
    constexpr int64_t kMost = INT64_MAX, kLeast = INT64_MIN;
    for (const Range& range : {Range{kMost, kMost, kMost, kMost, 3}, Range{kLeast, kLeast, kLeast, kLeast, INT32_MIN},
                               Range{0, kMost, 0, kMost, 3}, Range{kMost, 5, 7, kLeast, 2}}) {
        Player player(media_path("plain.mp4"), kOneThread);
        qmio_fifo_ts(player.handle(), range.in, range.out, range.loop_in, range.loop_out, range.loops);
        EXPECT_EQ(play(player, 1000).kinds.back(), -1) << description("plain.mp4", range);
    }
}

// ---- sound ----

TEST(BackgroundReader, SoundOfAllTracksComesTogether) {
    const Media media = open_file("two_audio_tracks.mp4");
    qmio_fifo_ts(media.get(), 0, -1, 0, -1, 1);
    Bytes sound(192'000 * 8);
    int chains = 0;
    for (int kind = qmio_get_frame(media.get()); kind >= 0; kind = qmio_get_frame(media.get())) {
        if (kind != QMIO_PACKET_AUDIO)
            continue;
        chains += media->reader_queue->taken.audio.size() == 2 ? 1 : 0;
        qmio_audio_frame(media.get(), sound.data());
    }
    EXPECT_GT(chains, 50);
    EXPECT_EQ(media->reader_queue->taken.audio_decoded, 2 * media->reader_queue->taken.audio_taken);
}

// Its demuxer enters packets of any place as it searches for one.
TEST(BackgroundReader, SoundOfATransportStreamHasItsTimes) {
    const TempDir folder;
    const std::filesystem::path path = folder / "film.ts";
    {
        Writer writer(
            path,
            "fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,size=64x48,r=25,g=12,acodec=mp2,ac=1,ar=48000,afmt=s16");
        PictureMaker maker("AV_PIX_FMT_YUV420P", 64, 48);
        SoundMaker sound(SoundForm{1, 48000, AV_SAMPLE_FMT_S16});
        for (int picture = 0; picture < 150; ++picture) {
            writer.write_picture(maker, picture);
            writer.write_sound(0, sound.samples(int64_t{picture} * 1920, 1920));
        }
    }
    const Media media = open_on_one_thread(path);
    packet::attach_reader_queue(*media, {3'000'000, -1, 0, -1, 1});
    std::vector<int64_t> times;
    for (packet::Entries entries = media->reader_queue->queue.take(); !entries.empty();
         entries = media->reader_queue->queue.take())
        for (const packet::Entry& entry : entries)
            if (entry.type == QMIO_PACKET_AUDIO)
                times.push_back(entry.time);
    ASSERT_GT(times.size(), 50U);
    EXPECT_GT(times.front(), 2'000'000);
    EXPECT_EQ(std::adjacent_find(times.begin(), times.end(), std::greater_equal<>()), times.end());
}

TEST(BackgroundReader, WithoutSoundInHandNoneIsDelivered) {
    const Media media = open_file("plain.mp4");
    qmio_fifo_ts(media.get(), 0, -1, 0, -1, 1);
    Bytes sound(192'000 * 8);
    EXPECT_EQ(qmio_audio_frame(media.get(), sound.data()), 0);
    EXPECT_EQ(qmio_audio_frame(media.get(), nullptr), 0);
}

}  // namespace
}  // namespace qmio::test
