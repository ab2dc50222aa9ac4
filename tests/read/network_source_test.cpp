// Sources that come over a network, from servers of this machine: how long they may stand still, and what they are told.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>

#include "ffmpeg/protocol.h"
#include "read/open.h"
#include "support/http_server.h"
#include "support/loopback_server.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/why.h"

namespace qmio::read {
namespace {

using namespace qmio::test;

ffmpeg::Dictionary dictionary(const char* key, const char* value) {
    ffmpeg::Dictionary options;
    options.set(key, value);
    return options;
}

// Accepts whoever comes, and says nothing.
class MuteServer : public testing::TestWithParam<const char*> {
  protected:
    LoopbackServer server_{{}};
    const std::string url_ = GetParam() + server_.url().substr(3) + "/film.ts";
};

TEST_P(MuteServer, EndsTheOpenWhenItsTimeIsUp) {
    EXPECT_FALSE(open_media(url_, "timeout=250000"));
}

TEST_P(MuteServer, EndsTheOpenWhereFfmpegWouldWaitForEver) {
    Container container;
    container.format_ctx.reset(avformat_alloc_context());
    container.format_ctx->interrupt_callback = interrupt_callback(container);
    container.stall_watch.begin(std::chrono::milliseconds(250));
    AVFormatContext* context = container.format_ctx.release();
    EXPECT_LT(avformat_open_input(&context, url_.c_str(), nullptr, nullptr), 0);
    EXPECT_TRUE(container.stall_watch.has_stalled());
}

INSTANTIATE_TEST_SUITE_P(Of, MuteServer, testing::Values("tcp", "http", "rtsp", "rtmp", "ftp", "mmst"),
                         [](const auto& protocol) { return std::string(protocol.param); });

TEST(NetworkSource, MayStandStillForHalfAMinuteUnlessToldOtherwise) {
    EXPECT_EQ(time_limit({}), std::chrono::seconds(30));
    EXPECT_EQ(time_limit(dictionary("timeout", "soon")), std::chrono::seconds(30));
    EXPECT_EQ(time_limit(dictionary("timeout", "1500000")), std::chrono::milliseconds(1500));
    EXPECT_EQ(time_limit(dictionary("timeout", "0")).count(), 0);
    EXPECT_LT(time_limit(dictionary("timeout", "-1")).count(), 0);
}

// Half a minute by itself, which is waited for here; twice that is for a machine that has much else to do.
TEST(NetworkSource, ThatSaysNothingFailsTheOpenWithoutBeingToldATime) {
    using Clock = std::chrono::steady_clock;
    const LoopbackServer server({});
    const Clock::time_point begin = Clock::now();
    EXPECT_FALSE(open_media(server.url()));
    EXPECT_EQ(test::why().code, AVERROR(ETIMEDOUT));
    EXPECT_GE(Clock::now() - begin, std::chrono::seconds(29));
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(60));
}

TEST(NetworkSource, ThatStandsStillBeforeItsStreamsAreKnownFailsTheOpen) {
    Bytes start = read_bytes(media_path("two_tracks_pcm_mp2.mkv"));
    start.resize(100);
    LoopbackServer server(start);
    EXPECT_FALSE(open_media(server.url(), "timeout=250000"));
}

TEST(NetworkSource, OpensWithAnyTimeLimit) {
    const HttpServer server(read_bytes(media_path("two_tracks_pcm_mp2.mkv")));
    for (const char* options : {"timeout=0", "timeout=-1", "timeout=20000000", "timeout=99999999999", "timeout=soon",
                                "timeout=99999999999999999999", "timeout=", "rw_timeout=20000000"})
        EXPECT_TRUE(open_media(server.url("film.mkv"), options)) << options;
}

TEST(NetworkSource, DeliversThePicturesOfTheFile) {
    const HttpServer server(read_bytes(media_path("two_tracks_pcm_mp2.mkv")));
    const Media media = open_media(server.url("film.mkv"));
    ASSERT_TRUE(media);
    EXPECT_EQ(all_pictures(media, 100), all_pictures(open_media(media_path("two_tracks_pcm_mp2.mkv")), 100));
}

TEST(NetworkSource, IsToldWhatTheProtocolKnows) {
    const HttpServer server(read_bytes(media_path("two_tracks_pcm_mp2.mkv")));
    ASSERT_TRUE(open_media(server.url("film.mkv"), "user_agent=\"A host/1.0\",headers=\"X-Reason: a test\r\n\""));
    const std::string request = server.requests().at(0);
    EXPECT_NE(request.find("User-Agent: A host/1.0\r\n"), request.npos) << request;
    EXPECT_NE(request.find("X-Reason: a test\r\n"), request.npos) << request;
}

TEST(NetworkSource, IsToldTheSameByWideOptions) {
    const HttpServer server(read_bytes(media_path("two_tracks_pcm_mp2.mkv")));
    const std::string url = server.url("film.mkv");
    ASSERT_TRUE(Media(qmio_open_ex_w(std::wstring(url.begin(), url.end()).c_str(), L"user_agent=wide")));
    const std::string request = server.requests().at(0);
    EXPECT_NE(request.find("User-Agent: wide\r\n"), request.npos) << request;
}

// Options that only a protocol knows do not disturb a file that has none of it.
TEST(NetworkSource, OptionsAreNothingToALocalFile) {
    EXPECT_TRUE(Media(qmio_open_ex_w(wide_name(media_path("small_h264_aac.mp4")).c_str(),
                                     L"timeout=1,rw_timeout=1,user_agent=x,headers=y,listen=1")));
}

TEST(Protocol, OfANetworkIsToldFromThoseOfThisMachine) {
    for (const char* url : {"http://host/x", "tcp://host:1", "rtsp://host/x", "rtmp://host/x", "ftp://host/x",
                            "udp://host:1", "cache:http://host/x", "crypto+http://host/x"})
        EXPECT_TRUE(ffmpeg::is_network_url(url)) << url;
    for (const char* url : {"film.mp4", "/tmp/film.mp4", "file:film.mp4", "pipe:0", "pipe:", "data:text/plain,x",
                            "cache:film.mp4", "concat:a.ts|b.ts", "subfile,,start,0,end,9,,:film.mp4", ""})
        EXPECT_FALSE(ffmpeg::is_network_url(url)) << url;
}

TEST(Protocol, TellsItsOptions) {
    for (const char* key : {"user_agent", "headers", "rw_timeout", "timeout", "tcp_nodelay", "reconnect"})
        EXPECT_TRUE(ffmpeg::protocol_knows_option("http://host/x", key)) << key;
    EXPECT_FALSE(ffmpeg::protocol_knows_option("http://host/x", "no_such_option"));
    EXPECT_TRUE(ffmpeg::protocol_knows_option("/tmp/film.mp4", "blocksize"));
    EXPECT_FALSE(ffmpeg::protocol_knows_option("/tmp/film.mp4", "user_agent"));
}

// Times in tenths of a second, as FFmpeg asks while nothing comes.
class StillStanding : public testing::Test {
  protected:
    bool ask_after(std::chrono::milliseconds wait) { return watch_.asked(now_ += wait); }
    bool ask_for(int tenths) {
        bool stalled = false;
        while (tenths-- > 0)
            stalled = ask_after(kTenth);
        return stalled;
    }

    static constexpr std::chrono::milliseconds kTenth{100};
    StallWatch watch_;
    StallWatch::Clock::time_point now_{std::chrono::hours(1000)};
};

TEST_F(StillStanding, ForTooLongIsTold) {
    watch_.begin(std::chrono::seconds(1), now_);
    EXPECT_FALSE(ask_for(10));
    EXPECT_TRUE(ask_for(1));
}

TEST_F(StillStanding, BeginsAnewWithEveryWaitThatCameToSomething) {
    watch_.begin(std::chrono::seconds(1), now_);
    for (int times = 0; times < 5; ++times) {
        EXPECT_FALSE(ask_for(8));
        EXPECT_FALSE(ask_after(std::chrono::milliseconds(3)));
    }
    EXPECT_TRUE(ask_for(11));
}

TEST_F(StillStanding, StaysToldUntilTheWatchEnds) {
    watch_.begin(std::chrono::seconds(1), now_);
    EXPECT_TRUE(ask_for(20));
    EXPECT_TRUE(ask_after(std::chrono::milliseconds(0)));
    watch_.end();
    EXPECT_FALSE(ask_for(1000));
    watch_.begin(std::chrono::seconds(1), now_);
    EXPECT_FALSE(ask_for(10));
}

TEST_F(StillStanding, IsNeverToldWithoutALimit) {
    EXPECT_FALSE(ask_for(1000));
    for (const StallWatch::Limit limit : {StallWatch::Limit(0), StallWatch::Limit(-1), StallWatch::Limit::min()}) {
        watch_.begin(limit, now_);
        EXPECT_FALSE(ask_for(1000));
    }
    watch_.begin(StallWatch::Limit::max(), now_);
    EXPECT_FALSE(ask_for(1000));
}

}  // namespace
}  // namespace qmio::read
