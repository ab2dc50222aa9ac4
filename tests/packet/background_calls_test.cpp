// A source that is read in the background: what its host may call meanwhile, when the reading ends, and what becomes of a
// thread that is waiting.
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "packet/background_play.h"
#include "packet/background_reader.h"
#include "packet/reader_queue.h"
#include "support/made_pictures.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

// ---- what hosts may call meanwhile ----

TEST(BackgroundReader, WithoutAPictureInHandNoneIsDecoded) {
    Player player(media_path("plain.mp4"), kOneThread);
    qmio_fifo_ts(player.handle(), 0, -1, 0, -1, 1);
    EXPECT_EQ(player.decode_packet().result, 0);
    while (qmio_get_frame(player.handle()) != QMIO_PACKET_VIDEO)
        continue;
    qmio_release_frame(player.handle());
    EXPECT_EQ(player.decode_packet().result, 0);
}

TEST(BackgroundReader, SeekingFailsAndChangesNothing) {
    Player queued(media_path("plain.mp4"), kOneThread), other(media_path("plain.mp4"), kOneThread);
    for (Player* player : {&queued, &other})
        qmio_fifo_ts(player->handle(), 0, -1, 0, -1, 1);
    EXPECT_EQ(qmio_seek_frame(queued.handle(), 40), -1);
    EXPECT_EQ(qmio_seek_frame_ex(queued.handle(), 40), -1);
    EXPECT_EQ(qmio_seek_frame_ex_old(queued.handle(), 40), -1);
    EXPECT_EQ(qmio_seek_ts(queued.handle(), 1000, QMIO_PACKET_VIDEO), 0);
    EXPECT_EQ(qmio_seek_ts(queued.handle(), 1000, QMIO_PACKET_AUDIO), 0);
    EXPECT_EQ(hashes(queued.read_rest(1000), 0, 1000), hashes(other.read_rest(1000), 0, 1000));
}

TEST(BackgroundReader, ASeekOfBeforeIsForgotten) {
    Player queued(media_path("plain.mp4"), kOneThread), plain(media_path("plain.mp4"), kOneThread);
    EXPECT_EQ(qmio_seek_frame(queued.handle(), 40), 40);
    qmio_fifo_ts(queued.handle(), 0, -1, 0, -1, 1);
    EXPECT_EQ(queued.read().hash, plain.read().hash);
}

TEST(BackgroundReader, AttachingAgainBeginsAnew) {
    Player queued(media_path("plain.mp4"), kOneThread), plain(media_path("plain.mp4"), kOneThread);
    for (int time = 0; time < 20; ++time) {
        qmio_fifo_frame(queued.handle(), 30, -1, 0, -1, packet::kEndless);
        queued.read();
    }
    qmio_fifo_ts(queued.handle(), 0, -1, 0, -1, 1);
    EXPECT_EQ(hashes(queued.read_rest(1000), 0, 1000), hashes(plain.read_rest(1000), 0, 1000));
}

TEST(BackgroundReader, HandlesWithoutASourceAreLeftAlone) {
    qmio_fifo_ts(nullptr, 0, -1, 0, -1, 1);
    qmio_fifo_frame(nullptr, 0, -1, 0, -1, 1);
    const Media cancelled = open_file("plain.mp4");
    qmio_cancel(cancelled.get());
    qmio_fifo_ts(cancelled.get(), 0, -1, 0, -1, 1);
    EXPECT_EQ(cancelled->reader_queue, nullptr);
    EXPECT_EQ(qmio_get_frame(cancelled.get()), -1);
}

TEST(BackgroundReader, ASourceWithoutVideoHas25FramesASecond) {
    const Media media = open_file("tone.wav");
    qmio_fifo_frame(media.get(), 0, 25, 0, 25, 1);
    std::vector<Seen> frames;
    for (packet::Entries entries = media->reader_queue->queue.take(); !entries.empty();
         entries = media->reader_queue->queue.take())
        frames.push_back({entries.front().type, entries.front().stream, entries.front().time});
    EXPECT_EQ(first_difference(frames, taken("tone.wav", {0, 1'000'000, 0, 1'000'000, 1}, kBound)), "");
}

// A transport stream whose sound begins long after it was opened.
std::filesystem::path made_with_late_sound(const TempDir& folder) {
    constexpr int kPictures = 450;
    const std::string film = "fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,size=320x240,r=25,g=12,b:v=2M";
    Bytes bytes;
    for (const char* sound_options : {"", ",acodec=mp2,ac=1,ar=48000,afmt=s16"}) {
        const std::filesystem::path path = folder / "part.ts";
        {
            const Writer writer(path, film + sound_options);
            const PictureMaker maker("AV_PIX_FMT_YUV420P", 320, 240);
            const SoundMaker sound(SoundForm{1, 48000, AV_SAMPLE_FMT_S16});
            for (int picture = 0; picture < kPictures; ++picture) {
                writer.write_picture(maker, picture);
                if (*sound_options != 0)
                    writer.write_sound(0, sound.samples(int64_t{picture} * 1920, 1920));
            }
        }
        const Bytes part = read_bytes(path);
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    write_bytes(folder / "late_sound.ts", bytes);
    return folder / "late_sound.ts";
}

TEST(BackgroundReader, StreamsThatComeWhileItReadsDoNotDisturbTheHost) {
    const TempDir folder;
    const std::string path = utf8(made_with_late_sound(folder));
    const Media media = open_media(path, "threads=1,probesize=100000,skip_estimate_duration_from_pts=1");
    ASSERT_TRUE(media);
    ASSERT_EQ(media->container.format_ctx->nb_streams, 1U);
    const Record packet(qmio_pkt_alloc());
    const auto ask = [&] {
        pkt_time_info times;
        qmio_time_param record;
        qmio_pkt_time(media.get(), packet.get(), &times);
        EXPECT_EQ(times.time_base_den, 90000);
        qmio_get_time_param(media.get(), "packet", &record);
        file_param(media, "start");
    };
    qmio_fifo_ts(media.get(), 0, -1, 0, -1, 1);
    // Nothing that is taken from the queue tells the thread sanitizer who came first.
    for (int call = 0; call < 5000; ++call)
        ask();
    while (qmio_get_frame(media.get()) >= 0)
        ask();
    EXPECT_EQ(media->container.format_ctx->nb_streams, 2U) << "no stream came";
}

// ---- ends ----

TEST(BackgroundReader, CanBeEndedAtAnyMoment) {
    Dice dice(printed_seed(7));
    const int cycles = runs_whole_sweep() ? 10000 : 200;
    for (int cycle = 0; cycle < cycles; ++cycle) {
        const Media media = open_file(dice.one_of(kFiles));
        qmio_fifo_ts(media.get(), any_time(dice), -1, 0, any_time(dice), packet::kEndless);
        for (int take = dice.up_to(400) - 200; take > 0; --take)
            qmio_get_frame(media.get());
    }
}

TEST(BackgroundReader, AHostThatStopsTakingClosesAtOnce) {
    const Media media = open_file("two_audio_tracks.mp4");
    qmio_fifo_ts(media.get(), 0, -1, 0, -1, packet::kEndless);
    while (media->reader_queue->queue.size() < packet::Queue::kCapacity)
        std::this_thread::yield();
}

TEST(BackgroundReader, CancellingEndsAWaitForPackets) {
    for (int round = 0; round < 20; ++round) {
        const Media media = open_file("plain.mp4");
        qmio_fifo_ts(media.get(), 0, -1, 0, -1, packet::kEndless);
        std::future<void> host = std::async(std::launch::async, [&] {
            while (qmio_get_frame(media.get()) >= 0)
                qmio_release_frame(media.get());
        });
        qmio_cancel(media.get());
        host.get();
        EXPECT_EQ(qmio_get_frame(media.get()), -1);
    }
}

TEST(BackgroundReader, ADamagedSourceEndsLikeAWholeOne) {
    const TempDir folder;
    Bytes bytes = read_bytes(media_path("h264.ts"));
    bytes.resize(bytes.size() / 2);
    std::fill(bytes.end() - static_cast<std::ptrdiff_t>(bytes.size() / 8), bytes.end(), uint8_t{0xFF});
    write_bytes(folder / "cut.ts", bytes);
    Player player(folder / "cut.ts", kOneThread);
    ASSERT_TRUE(player.is_open());
    qmio_fifo_ts(player.handle(), 0, -1, 0, -1, 4);
    const Played played = play(player);
    EXPECT_EQ(played.kinds.back(), -1);
    EXPECT_EQ(played.sync_points, 3);
}

}  // namespace
}  // namespace qmio::test
