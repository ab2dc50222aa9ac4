// A source that is read in the background: what comes out, when it ends, and what becomes of a thread that is waiting.
#include "packet/background_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <future>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "core/process/settings.h"
#include "packet/background_model.h"
#include "packet/reader_queue.h"
#include "support/made_pictures.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/seed.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

using packet::Range;

constexpr std::string_view kFiles[] = {"plain.mp4",      "bframes_open_gop.mp4",       "h264.ts",   "mpeg2.ts",
                                       "hevc.ts",        "two_audio_tracks.mp4",       "mjpeg.avi", "starts_at_8s.ts",
                                       "h264.mkv",       "two_tracks_pcm_mp2.mkv",     "vfr.mp4",   "starts_at_8s.mp4",
                                       "fragmented.mp4", "seventeen_audio_tracks.mkv", "tone.wav",  "edit_list.mp4"};
constexpr std::size_t kBound = 20000;

// The thread sanitizer knows nothing of how an FFmpeg that was built without it lets its threads wait for one another.
constexpr const wchar_t* kOneThread = L"threads=1";
#ifdef __SANITIZE_THREAD__
constexpr const wchar_t* kThreads[] = {kOneThread};
#else
constexpr const wchar_t* kThreads[] = {kOneThread, L"threads=3"};
#endif

Media open_file(std::string_view name) {
    return open_on_one_thread(media_path(std::string(name)));
}

bool is_whole_sweep() {
    const char* text = std::getenv("QMIO_SWEEP");
    return text != nullptr && std::string_view(text) == "all";
}

// ---- what comes out ----

std::vector<Seen> taken(std::string_view file, const Range& range, std::size_t bound) {
    const Media media = open_file(file);
    packet::attach_reader_queue(*media, range);
    std::vector<Seen> all;
    while (all.size() < bound) {
        const packet::Entries entries = media->reader_queue->queue.take();
        if (entries.empty())
            break;
        for (const packet::Entry& entry : entries)
            all.push_back({entry.type, entry.stream, entry.time});
    }
    return all;
}

int64_t any_time(Dice& dice) {
    return dice.up_to(8) == 1 ? -1 : dice.up_to(45) * (dice.up_to(2) == 1 ? 100'000 : 99'991);
}

std::string description(std::string_view file, const Range& range) {
    return std::string(file) + " in " + std::to_string(range.in) + " out " + std::to_string(range.out) + " loop " +
           std::to_string(range.loop_in) + " to " + std::to_string(range.loop_out) + " loops " +
           std::to_string(range.loops);
}

std::string first_difference(const std::vector<Seen>& actual, const std::vector<Seen>& expected) {
    const auto [left, right] = std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end());
    if (left == actual.end() && right == expected.end())
        return {};
    std::ostringstream text;
    text << "entry " << left - actual.begin() << " of " << actual.size() << '/' << expected.size() << ": ";
    if (left != actual.end())
        text << *left;
    if (right != expected.end())
        text << " in place of " << *right;
    return text.str();
}

// Where the passes of a loop overlap by more than what the queue holds back, the order hangs on who is faster.
TEST(BackgroundReader, GivesWhatReadingWithoutAThreadGives) {
    Dice dice(printed_seed(20261122));
    constexpr int32_t kLoops[] = {-1, 0, 1, 2, 3, 5};
    int left = is_whole_sweep() ? 5000 : 500, undecided = 0;
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

struct Played {
    std::vector<int> kinds;
    std::vector<Picture> pictures;
    int sync_points = 0;
};

Played play(Player& player, std::size_t bound = 4000) {
    Played played;
    for (int kind = 0; played.kinds.size() < bound;) {
        kind = qmio_get_frame(player.handle());
        played.kinds.push_back(kind);
        if (kind < 0)
            break;
        played.sync_points += kind == QMIO_PACKET_OTHER ? 1 : 0;
        if (kind == QMIO_PACKET_VIDEO)
            if (const Picture picture = player.decode_packet(); picture.result > 1)
                played.pictures.push_back(picture);
        qmio_release_frame(player.handle());
    }
    for (Picture picture = player.drain(); picture.result > 1; picture = player.drain())
        played.pictures.push_back(picture);
    return played;
}

class Loops : public testing::TestWithParam<const char*> {};

std::vector<uint64_t> hashes(const std::vector<Picture>& pictures, std::size_t first, std::size_t count) {
    std::vector<uint64_t> list;
    for (std::size_t place = first; place < first + count && place < pictures.size(); ++place)
        list.push_back(pictures[place].hash);
    return list;
}

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

// ---- traces ----

// The settings are read-only to the library, not to its tests.
class Switch {
  public:
    Switch(TraceSwitch category, int32_t value) : category_(static_cast<std::size_t>(category)) { set(value); }
    Switch(const Switch&) = delete;
    Switch& operator=(const Switch&) = delete;
    ~Switch() { set(0); }

  private:
    void set(int32_t value) { const_cast<Settings&>(settings()).trace[category_] = value; }

    std::size_t category_;
};

std::vector<std::string> console_of_playing(const Range& range) {
    testing::internal::CaptureStderr();
    {
        Player player(media_path("mjpeg.avi"), kOneThread);
        qmio_fifo_ts(player.handle(), range.in, range.out, range.loop_in, range.loop_out, range.loops);
        play(player);
    }
    std::istringstream text(testing::internal::GetCapturedStderr());
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        if (line.find("avfifo_get") == line.npos)  // whether the host had to wait is up to the two threads
            lines.push_back(line);
    return lines;
}

TEST(BackgroundReader, TellsWhatItReads) {
    const Switch fifo(TraceSwitch::fifo, 2);
    const std::vector<std::string> expected{
        "*** avfifo_reader: start, in 0 out 120000 loop_in 40000 loop_out 80000 loops 2",
        "+V\t0",
        "+V\t40000",
        "avfifo_loop: wrap at 120000, in_loop 40000, ts_off 80000",
        "push EOF",
        "+V\t120000",
        "+V\t160000",
        "push EOF",
        "*** avfifo_reader: stop, 8 packets read"};
    std::vector<std::string> lines = console_of_playing({0, 120'000, 40'000, 80'000, 2});
    // The host may close while the reader still tells of its end.
    EXPECT_EQ(std::erase(lines, "*** avfifo_delete: video read 6 decode 6, audio read 0 decode 0"), 1U);
    EXPECT_EQ(lines, expected);
}

TEST(BackgroundReader, TellsWhatTheHostTakes) {
    const Switch decoder(TraceSwitch::decoder, 3);
    const std::vector<std::string> expected{"V1\t0", "V2\t40000", "V3\t80000", "=== pkt type -1,  120001"};
    EXPECT_EQ(console_of_playing({0, 120'000, 0, 120'000, 1}), expected);
}

// ---- ends ----

TEST(BackgroundReader, CanBeEndedAtAnyMoment) {
    Dice dice(printed_seed(7));
    const int cycles = is_whole_sweep() ? 10000 : 200;
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
