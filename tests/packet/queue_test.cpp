// The list that two threads share: the order in which packets come out, and when.
#include "packet/queue.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

#include "support/seed.h"

namespace qmio::packet {
namespace {

Entries entry(int64_t time, int32_t type, int32_t stream, int64_t mark = 0, int32_t pass = 0) {
    Entries one(1);
    one.front().time = time;
    one.front().type = type;
    one.front().stream = stream;
    one.front().pass = pass;
    one.front().pkt.reset(av_packet_alloc());
    one.front().pkt->pos = mark;
    return one;
}

Entries video(int64_t time, int64_t mark = 0, int32_t pass = 0) {
    return entry(time, QMIO_PACKET_VIDEO, 0, mark, pass);
}

Entries sound(int64_t time, int32_t stream, int64_t mark = 0) {
    return entry(time, QMIO_PACKET_AUDIO, stream, mark);
}

struct Seen {
    int64_t time;
    int32_t type, stream;
    bool operator==(const Seen&) const = default;
};

Seen seen(const Entry& entry) {
    return {entry.time, entry.type, entry.stream};
}

std::vector<Seen> take_all(Queue& queue) {
    std::vector<Seen> all;
    for (Entries taken = queue.take(); !taken.empty(); taken = queue.take())
        for (const Entry& one : taken)
            all.push_back(seen(one));
    return all;
}

TEST(Queue, OrdersByTimeThenTypeThenStream) {
    Queue queue;
    queue.push_sorted(sound(20, 2));
    queue.push_sorted(sound(20, 1));
    queue.push_sorted(video(20));
    queue.push_sorted(sound(10, 2));
    queue.push_sorted(video(30));
    queue.push_end(entry(0, kEnd, 5));
    const std::vector<Seen> expected{{10, QMIO_PACKET_AUDIO, 2}, {20, QMIO_PACKET_VIDEO, 0}, {20, QMIO_PACKET_AUDIO, 1},
                                     {20, QMIO_PACKET_AUDIO, 2}, {30, QMIO_PACKET_VIDEO, 0}, {31, kEnd, -1}};
    EXPECT_EQ(take_all(queue), expected);
}

TEST(Queue, PicturesComeBeforeSoundOfTheirTimeInWhateverStream) {
    Queue queue;
    queue.push_sorted(sound(20, 0));
    queue.push_sorted(entry(20, QMIO_PACKET_VIDEO, 3));
    queue.push_sorted(sound(20, 1));
    queue.close();
    const std::vector<Seen> expected{
        {20, QMIO_PACKET_VIDEO, 3}, {20, QMIO_PACKET_AUDIO, 0}, {20, QMIO_PACKET_AUDIO, 1}};
    EXPECT_EQ(take_all(queue), expected);
}

TEST(Queue, EqualEntriesKeepTheOrderOfTheirArrival) {
    Queue queue;
    for (int mark = 0; mark < 5; ++mark)
        queue.push_sorted(video(7, mark));
    queue.close();
    for (int mark = 0; mark < 5; ++mark)
        EXPECT_EQ(queue.take().front().pkt->pos, mark);
}

// A pass that begins at a key frame before the loop point overlaps in time with the end of the one before. A decoder can
// do nothing with the two mixed.
TEST(Queue, PacketsOfAStreamComeInTheOrderInWhichTheyWereReadWhateverTheirTimes) {
    const unsigned seed = test::printed_seed(11);
    test::Dice dice(seed);
    Queue queue;
    std::vector<int64_t> times;
    for (int mark = 0; mark < 200; ++mark) {
        times.push_back(dice.up_to(60));
        queue.push_sorted(mark % 3 == 0 ? sound(times.back(), 1 + mark % 2, mark) : video(times.back(), mark));
    }
    queue.close();
    int64_t time = 0, last[3] = {-1, -1, -1};
    for (Entries taken = queue.take(); !taken.empty(); taken = queue.take())
        for (const Entry& one : taken) {
            EXPECT_GE(one.time, time);
            EXPECT_GT(one.pkt->pos, last[one.stream]);
            time = one.time;
            last[one.stream] = one.pkt->pos;
        }
}

TEST(Queue, ThePassGoesWithThePacket) {
    Queue queue;
    queue.push_sorted(video(100, 1, 0));
    queue.push_sorted(video(90, 2, 1));
    queue.close();
    EXPECT_EQ(queue.take().front().pass, 0);
    EXPECT_EQ(queue.take().front().pass, 1);
}

TEST(Queue, SoundOfOneTimeComesTogetherWhateverFollowsIt) {
    Queue queue;
    queue.push_sorted(sound(10, 1));
    queue.push_sorted(sound(10, 3));
    queue.push_sorted(sound(10, 2));
    queue.push_sorted(video(11));
    queue.push_sorted(video(11));
    queue.close();
    const Entries chain = queue.take();
    ASSERT_EQ(chain.size(), 3U);
    EXPECT_EQ(chain.front().stream, 1);
    EXPECT_EQ(chain.back().stream, 3);
    EXPECT_EQ(queue.take().size(), 1U);
    EXPECT_EQ(queue.take().size(), 1U);
}

TEST(Queue, MarksComeAfterTheLargestTimeSoFar) {
    Queue queue;
    queue.push_sorted(video(500));
    queue.push_sorted(video(400));
    queue.push_sync_point(Entries(1));
    queue.push_sorted(video(450));
    queue.push_end(Entries(1));
    const std::vector<Seen> expected{{400, QMIO_PACKET_VIDEO, 0},
                                     {450, QMIO_PACKET_VIDEO, 0},
                                     {500, QMIO_PACKET_VIDEO, 0},
                                     {501, kSyncPoint, -1},
                                     {501, kEnd, -1}};
    EXPECT_EQ(take_all(queue), expected);
}

// What is read 250 packets later may still belong before everything.
TEST(Queue, HalfOfItIsHeldBackUntilTheEnd) {
    Queue queue;
    std::future<int64_t> first = std::async(std::launch::async, [&] { return queue.take().front().time; });
    for (int64_t time = 250; time > 0; --time)
        queue.push_sorted(video(time));
    queue.push_end(Entries(1));
    EXPECT_EQ(first.get(), 1);
}

TEST(Queue, GivesOutWhatIsAboveHalfOfIt) {
    Queue queue;
    for (int64_t time = 1; time <= Queue::kCapacity / 2 + 1; ++time)
        queue.push_sorted(video(time));
    EXPECT_EQ(queue.take().front().time, 1);
}

TEST(Queue, HoldsNoMoreThanItsCapacity) {
    Queue queue;
    std::thread reader([&] {
        for (int64_t time = 0; time < 5000; ++time)
            queue.push_sorted(video(time));
        for (int mark = 0; mark < 1000; ++mark)
            queue.push_sync_point(Entries(1));
        queue.push_end(Entries(1));
    });
    int taken = 0;
    for (Entries one = queue.take(); !one.empty(); one = queue.take()) {
        EXPECT_LE(queue.size(), Queue::kCapacity);
        ++taken;
    }
    reader.join();
    EXPECT_EQ(taken, 6001);
}

TEST(Queue, NothingGoesInAfterTheEnd) {
    Queue queue;
    queue.push_sorted(video(1));
    queue.push_end(Entries(1));
    queue.push_sorted(video(2));
    queue.push_sync_point(Entries(1));
    queue.push_end(Entries(1));
    EXPECT_EQ(take_all(queue).size(), 2U);
}

TEST(Queue, AbandoningWakesBothSidesAndLeavesNothing) {
    Queue full, empty;
    std::thread reader([&] {
        for (int64_t time = 0; time < 2 * Queue::kCapacity; ++time)
            full.push_sorted(video(time));
    });
    std::thread host([&] { EXPECT_TRUE(empty.take().empty()); });
    full.abandon();
    empty.abandon();
    reader.join();
    host.join();
    EXPECT_TRUE(full.take().empty());
}

TEST(Queue, TimesAtTheEndOfTheirRangeStayInIt) {
    Queue queue;
    queue.push_sorted(video(kNever - 1));
    queue.push_sync_point(Entries(1));
    queue.push_sorted(video(kNever));
    queue.push_end(Entries(1));
    for (const Seen& one : take_all(queue))
        EXPECT_GE(one.time, kNever - 1);
}

}  // namespace
}  // namespace qmio::packet
