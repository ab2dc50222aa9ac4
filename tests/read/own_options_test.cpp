// Options of an open that are the library's own: what they say, and that FFmpeg hears nothing of them.
#include "read/own_options.h"

#include <gtest/gtest.h>

#include "ffmpeg/ffmpeg.h"
#include "ffmpeg/protocol.h"
#include "support/media.h"
#include "support/open_media.h"

namespace qmio::read {
namespace {

using namespace qmio::test;
using namespace std::chrono_literals;

constexpr const char* kOwnKeys[] = {"cancel", "open_timeout"};

OwnOptions own(const char* text) {
    return own_options(Options(text)).value();
}

TEST(OwnOptions, AreNoneWhereNothingIsSaid) {
    for (const char* text : {"", "threads=1,probesize=1M"}) {
        EXPECT_EQ(own(text).cancel, 0);
        EXPECT_EQ(own(text).open_timeout, 0s);
    }
    EXPECT_EQ(own(nullptr).cancel, 0);
}

TEST(OwnOptions, AreReadAmongTheOthers) {
    EXPECT_EQ(own("threads=1,cancel=17,probesize=1M").cancel, 17);
    EXPECT_EQ(own("cancel=9223372036854775807").cancel, 9223372036854775807);
    EXPECT_EQ(own("threads=1\nopen_timeout=3").open_timeout, 3s);
    EXPECT_EQ(own("open_timeout=0.25").open_timeout, 250ms);
    EXPECT_EQ(own("open_timeout=0").open_timeout, 0s);
}

TEST(OwnOptions, OfAKeyThatStandsThereTwiceAreTheLast) {
    EXPECT_EQ(own("cancel=1,cancel=2").cancel, 2);
}

TEST(OwnOptions, MayBeAsLongOrShortAsTheyLike) {
    EXPECT_GT(own("open_timeout=1e300").open_timeout, 24h * 300);
    EXPECT_GT(own("open_timeout=1e-9").open_timeout, 0s);
}

TEST(OwnOptions, OfNoSenseAreRefused) {
    for (const char* text : {"cancel", "cancel=", "cancel=0", "cancel=-3", "cancel=x", "cancel=1x", "cancel=1.5",
                             "cancel=9223372036854775808", "open_timeout=", "open_timeout=-1", "open_timeout=soon",
                             "open_timeout=1s", "open_timeout=nan", "open_timeout=inf", "open_timeout=1e999"}) {
        EXPECT_FALSE(own_options(Options(text))) << text;
        EXPECT_FALSE(open_media(media_path("small_h264_aac.mp4").string(), text)) << text;
    }
}

TEST(OwnOptions, DoNotDisturbAnOpen) {
    EXPECT_TRUE(open_media(media_path("small_h264_aac.mp4").string(), "cancel=5,open_timeout=100,threads=1"));
}

TEST(OwnOptions, AreKeptFromFfmpeg) {
    const Options others = without_own(Options("a=1,cancel=3,b=2,open_timeout=1,cancel=4"));
    EXPECT_EQ(std::vector<Option>(others.begin(), others.end()), (std::vector<Option>{{"a", "1"}, {"b", "2"}}));
}

// A host that has used such an option of FFmpeg's must not find it taken away.
TEST(OwnOptions, HaveNamesThatFfmpegDoesNotUse) {
    for (const char* key : kOwnKeys) {
        for (const AVClass* kind : {avformat_get_class(), avcodec_get_class()})
            EXPECT_EQ(av_opt_find(&kind, key, nullptr, 0, AV_OPT_SEARCH_CHILDREN | AV_OPT_SEARCH_FAKE_OBJ), nullptr)
                << key << " of " << kind->class_name;
        EXPECT_FALSE(ffmpeg::protocol_knows_option("http://host/x", key)) << key;
    }
}

}  // namespace
}  // namespace qmio::read
