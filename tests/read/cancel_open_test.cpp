// Opens that another thread ends, or that end by themselves when their time is over.
#include "read/cancel_open.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "core/handle/stall_watch.h"
#include "ffmpeg/ffmpeg.h"
#include "support/http_server.h"
#include "support/loopback_server.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/why.h"

namespace qmio::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Far above what it takes, far below what FFmpeg would wait.
constexpr auto kLong = 8s;

// Until the number is known; it is, from before the first byte is asked for.
void cancel_when_under_way(int64_t number) {
    while (qmio_cancel_open(number) == 0)
        std::this_thread::sleep_for(1ms);
}

// An open on a thread of its own.
class OpenThread {
  public:
    OpenThread(const std::string& url, const std::string& options)
        : thread_([this, url, options] {
              media_.reset(qmio_open_u8(url.c_str(), options.c_str()));
              why_ = why();
              ended_ = Clock::now();
          }) {}
    OpenThread(const OpenThread&) = delete;
    OpenThread& operator=(const OpenThread&) = delete;
    ~OpenThread() {
        if (thread_.joinable())
            thread_.join();
    }

    void join() { thread_.join(); }
    const Media& media() const { return media_; }
    const Why& told() const { return why_; }
    Clock::time_point ended() const { return ended_; }

  private:
    Media media_;
    Why why_;
    Clock::time_point ended_;
    std::thread thread_;
};

// Accepts whoever comes, and says nothing.
class OpenOfAMuteServer : public testing::TestWithParam<const char*> {
  protected:
    std::string url() const {
        const std::string address = server_.url().substr(3) + "/film.ts";
        const std::string protocol = GetParam();
        return protocol == "aftp" ? "ftp" + address + "?passive" : protocol + address;
    }

    LoopbackServer server_{{}};
};

TEST_P(OpenOfAMuteServer, EndsWhenItIsCancelled) {
    OpenThread open(url(), "cancel=17,timeout=0");
    std::this_thread::sleep_for(150ms);
    const Clock::time_point begun = Clock::now();
    cancel_when_under_way(17);
    open.join();
    EXPECT_FALSE(open.media());
    EXPECT_EQ(open.told().code, AVERROR_EXIT) << open.told();
    EXPECT_TRUE(open.told().holds("cancelled")) << open.told();
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(open.ended() - begun);
    RecordProperty("milliseconds", static_cast<int>(milliseconds.count()));
    std::cout << "cancelled within " << milliseconds.count() << " ms\n";
    EXPECT_LT(milliseconds, kLong);
    EXPECT_EQ(qmio_cancel_open(17), 0);
}

TEST_P(OpenOfAMuteServer, EndsWhenItsTimeIsOver) {
    const Clock::time_point begun = Clock::now();
    why();
    EXPECT_FALSE(Media(qmio_open_u8(url().c_str(), "open_timeout=0.25,timeout=0")));
    const Why told = why();
    EXPECT_EQ(told.code, AVERROR(ETIMEDOUT)) << told;
    EXPECT_TRUE(told.holds("the open lasted longer than it may")) << told;
    EXPECT_GE(Clock::now() - begun, 240ms);
    EXPECT_LT(Clock::now() - begun, kLong);
}

INSTANTIATE_TEST_SUITE_P(Of, OpenOfAMuteServer, testing::Values("tcp", "http", "rtsp", "rtmp", "ftp", "mmst", "aftp"),
                         [](const auto& protocol) { return std::string(protocol.param); });

Bytes start_of_a_film() {
    Bytes start = read_bytes(media_path("two_tracks_pcm_mp2.mkv"));
    start.resize(100);
    return start;
}

TEST(CancelledOpen, EndsWhereTheStreamsAreSoughtOut) {
    LoopbackServer server(start_of_a_film());
    OpenThread open(server.url(), "cancel=3,timeout=0");
    server.wait_until_sent();
    cancel_when_under_way(3);
    open.join();
    EXPECT_FALSE(open.media());
    EXPECT_EQ(open.told().code, AVERROR_EXIT) << open.told();
}

TEST(CancelledOpen, IsThatOfItsNumberAlone) {
    LoopbackServer server(start_of_a_film());
    OpenThread open(server.url(), "cancel=9223372036854775807,timeout=0");
    server.wait_until_sent();
    EXPECT_EQ(qmio_cancel_open(4), 0);
    EXPECT_EQ(qmio_cancel_open(0), 0);
    EXPECT_EQ(qmio_cancel_open(-1), 0);
    EXPECT_EQ(qmio_cancel_open(9223372036854775807), 1);
    open.join();
    EXPECT_FALSE(open.media());
}

TEST(CancelledOpen, MayBeSeveralOfOneNumber) {
    LoopbackServer first(start_of_a_film());
    LoopbackServer second(start_of_a_film());
    OpenThread one(first.url(), "cancel=5,timeout=0");
    OpenThread other(second.url(), "cancel=5,timeout=0");
    first.wait_until_sent();
    second.wait_until_sent();
    EXPECT_EQ(qmio_cancel_open(5), 1);
    one.join();
    other.join();
    EXPECT_FALSE(one.media());
    EXPECT_FALSE(other.media());
}

TEST(CancelledOpen, IsNoneOnceItHasReturned) {
    const Media media = open_media(media_path("small_h264_aac.mp4").string(), "cancel=6,open_timeout=60");
    ASSERT_TRUE(media);
    EXPECT_EQ(qmio_cancel_open(6), 0);
    EXPECT_EQ(all_pictures(media, 1000).size(),
              all_pictures(open_media(media_path("small_h264_aac.mp4")), 1000).size());
}

// However a cancel falls in with the end of an open: what it says is what the open came to.
TEST(CancelledOpen, IsToldInTheEndAlways) {
    const HttpServer server(read_bytes(media_path("small_mpeg4_pcm.avi")));
    int cancelled = 0;
    for (int round = 0; round < 60; ++round) {
        OpenThread open(server.url("film.avi"), "cancel=7");
        std::this_thread::sleep_for(std::chrono::microseconds(100 * round));
        const int found = qmio_cancel_open(7);
        open.join();
        EXPECT_EQ(open.media() == nullptr, found == 1) << round << " " << open.told();
        cancelled += found;
    }
    std::cout << cancelled << " of 60 were cancelled\n";
}

TEST(CancelledOpen, CanBeOfALocalFile) {
    std::atomic<bool> flag{false};
    read::NamedOpen open(8, flag);
    EXPECT_EQ(qmio_cancel_open(8), 1);
    EXPECT_TRUE(flag);
    EXPECT_FALSE(open.complete());
    EXPECT_EQ(qmio_cancel_open(8), 0);
}

TEST(TimeOfAnOpen, IsOverAlsoWhereSomethingComesNowAndThen) {
    Deadline deadline;
    const Deadline::Clock::time_point now{std::chrono::hours(1000)};
    EXPECT_FALSE(deadline.asked(now));
    deadline.begin(1s, now);
    for (int tenth = 0; tenth <= 10; ++tenth)
        EXPECT_FALSE(deadline.asked(now + 100ms * tenth));
    EXPECT_TRUE(deadline.asked(now + 1001ms));
    EXPECT_TRUE(deadline.has_passed());
    deadline.end();
    EXPECT_FALSE(deadline.has_passed());
    EXPECT_FALSE(deadline.asked(now + 24h));
}

TEST(TimeOfAnOpen, DoesNotGoOnBehindIt) {
    const HttpServer server(read_bytes(media_path("small_mpeg4_pcm.avi")));
    const Media media(qmio_open_u8(server.url("film.avi").c_str(), "open_timeout=2"));
    ASSERT_TRUE(media);
    std::this_thread::sleep_for(2100ms);
    EXPECT_EQ(all_pictures(media, 1000).size(),
              all_pictures(open_media(media_path("small_mpeg4_pcm.avi")), 1000).size());
}

}  // namespace
}  // namespace qmio::test
