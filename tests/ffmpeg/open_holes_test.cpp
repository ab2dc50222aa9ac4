// Decoders that are not used because of what is known of the linked FFmpeg.
#include "ffmpeg/open_holes.h"

#include <gtest/gtest.h>

#include "ffmpeg/codec_lookup.h"

namespace qmio::ffmpeg {
namespace {

class OpenHoles : public testing::Test {
  protected:
    OpenHoles() {
        clear_vetoes();
        veto_open_holes({});
    }
    ~OpenHoles() override { clear_vetoes(); }

    static bool has_any() { return !decoders_without_holes().empty(); }
};

TEST_F(OpenHoles, BelongToReleases) {
    for (const char* version :
         {"5.1.9", "5.1.9-0+deb12u1", "n5.1.9", "5.1.8-0+deb12u1", "5.1", "4.4.2-0ubuntu0.22.04.1"})
        EXPECT_TRUE(is_up_to_release(version, "5.1.9")) << version;
    for (const char* version : {"5.1.10", "5.2", "7.1.1-1", "N-109000-gabcdef", "git-2026-01-01", ""})
        EXPECT_FALSE(is_up_to_release(version, "5.1.9")) << version;
}

TEST_F(OpenHoles, TakeTheirDecoderOut) {
    if (!has_any())
        GTEST_SKIP() << "this FFmpeg has none";
    EXPECT_EQ(find_decoder(AV_CODEC_ID_MAGICYUV), nullptr);
    EXPECT_STREQ(open_hole(AV_CODEC_ID_MAGICYUV), "CVE-2026-8461");
    EXPECT_EQ(open_hole(AV_CODEC_ID_H264), nullptr);
    EXPECT_NE(find_encoder(AV_CODEC_ID_MAGICYUV), nullptr);
}

TEST_F(OpenHoles, LeaveAllOtherDecoders) {
    if (!has_any())
        GTEST_SKIP() << "this FFmpeg has none";
    const std::string names = "," + decoders_without_holes() + ",";
    void* position = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&position)) {
        if (av_codec_is_decoder(codec) != 0) {
            EXPECT_EQ(names.find("," + std::string(codec->name) + ",") == names.npos, codec->id == AV_CODEC_ID_MAGICYUV)
                << codec->name;
        }
    }
}

TEST_F(OpenHoles, CanBeAllowed) {
    clear_vetoes();
    veto_open_holes({"magicyuv"});
    EXPECT_NE(find_decoder(AV_CODEC_ID_MAGICYUV), nullptr);
    EXPECT_EQ(open_hole(AV_CODEC_ID_MAGICYUV), nullptr);
    EXPECT_FALSE(has_any());
}

}  // namespace
}  // namespace qmio::ffmpeg
