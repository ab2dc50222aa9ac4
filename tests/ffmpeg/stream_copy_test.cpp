// The time base that a stream wants in the container it is copied into, and the tag that it keeps there.
#include "ffmpeg/stream_copy.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/intreadwrite.h>
}

#include <ostream>
#include <string>

namespace qmio::test {
namespace {

using ffmpeg::SourceTimes;

struct Case {
    std::string name, container;
    SourceTimes times;
    AVRational codec, stream;  // expected
};

void PrintTo(const Case& given, std::ostream* out) {
    *out << given.name;
}

bool same(AVRational a, AVRational b) {
    return a.num == b.num && a.den == b.den;
}

class CopiedTimeBase : public testing::TestWithParam<Case> {};

TEST_P(CopiedTimeBase, FollowsTheContainerAndTheClocksOfTheSource) {
    const Case& given = GetParam();
    const AVOutputFormat* const format = av_guess_format(given.container.c_str(), nullptr, nullptr);
    ASSERT_NE(format, nullptr);
    const AVRational codec = ffmpeg::codec_time_base_of_copy(*format, given.times);
    const AVRational stream = ffmpeg::stream_time_base_of_copy(*format, given.times);
    EXPECT_TRUE(same(codec, given.codec)) << codec.num << '/' << codec.den;
    EXPECT_TRUE(same(stream, given.stream)) << stream.num << '/' << stream.den;
}

const Case kCases[] = {
    {"AviOfFieldsOnAFineClock", "avi", {{1, 50}, 2, {1, 90000}}, {1, 50}, {1, 50}},
    {"AviOfPicturesOnAFineClock", "avi", {{1, 25}, 1, {1, 12800}}, {1, 50}, {1, 50}},
    {"AviOfNtsc", "avi", {{1001, 60000}, 2, {1, 90000}}, {1001, 60000}, {1001, 60000}},
    {"AviOnTheClockOfTheRate", "avi", {{1, 50}, 2, {1, 25}}, {1, 50}, {1, 25}},
    {"AviOnAClockOfTwoMilliseconds", "avi", {{1, 25}, 1, {1, 500}}, {1, 25}, {1, 500}},
    {"AviOnAClockJustFiner", "avi", {{1, 25}, 1, {1, 501}}, {1, 50}, {1, 50}},
    {"AviOfPicturesAsShortAsTwoTicks", "avi", {{1, 500}, 1, {1, 1000}}, {1, 500}, {1, 1000}},
    {"AviOfPicturesLongerThanTwoTicks", "avi", {{1, 499}, 1, {1, 1000}}, {1, 998}, {1, 998}},
    {"AviOfUnknownRate", "avi", {{0, 1}, 2, {1, 90000}}, {0, 1}, {1, 90000}},
    {"MxfOfFieldsOnAFineClock", "mxf", {{1, 50}, 2, {1, 90000}}, {1, 25}, {1, 25}},
    {"MxfOfPictures", "mxf", {{1, 25}, 1, {1, 12800}}, {1, 25}, {1, 25}},
    {"MxfOnTheClockOfTheRate", "mxf", {{1, 50}, 2, {1, 25}}, {1, 50}, {1, 25}},
    {"MxfOfPicturesAsShortAsATick", "mxf", {{1, 1000}, 1, {1, 1000}}, {1, 1000}, {1, 1000}},
    // Stores rates for nothing: the choice shows in the codec's time base alone.
    {"Mp4KeepsEveryTime", "mp4", {{1, 50}, 2, {1, 90000}}, {1, 25}, {1, 90000}},
    {"MovKeepsEveryTime", "mov", {{1001, 30000}, 1, {1, 90000}}, {1001, 30000}, {1, 90000}},
    {"MatroskaIsOfVariableRate", "matroska", {{1, 50}, 2, {1, 90000}}, {1, 50}, {1, 90000}},
    {"TransportStreamIsOfVariableRate", "mpegts", {{2, 100}, 1, {1, 1000}}, {1, 50}, {1, 1000}},
    {"AsfIsNot", "asf", {{1, 50}, 2, {1, 90000}}, {1, 25}, {1, 25}},
    {"WhatDoesNotFitIsReduced", "mxf", {{1500000000, 1000000000}, 2, {1, 90000}}, {3, 1}, {3, 1}},
};

INSTANTIATE_TEST_SUITE_P(Cases, CopiedTimeBase, testing::ValuesIn(kCases),
                         [](const auto& test) { return test.param.name; });

TEST(TimesOfVideo, CountFieldsWhereTheCodecDoes) {
    for (const AVCodecID codec : {AV_CODEC_ID_H264, AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_MPEG1VIDEO}) {
        const SourceTimes times = ffmpeg::video_times(codec, {30000, 1001}, {1, 90000});
        EXPECT_EQ(times.ticks_per_frame, 2);
        EXPECT_TRUE(same(times.codec_time_base, {1001, 60000}));
    }
    for (const AVCodecID codec : {AV_CODEC_ID_HEVC, AV_CODEC_ID_MPEG4, AV_CODEC_ID_PRORES, AV_CODEC_ID_VP9}) {
        const SourceTimes times = ffmpeg::video_times(codec, {25, 1}, {1, 90000});
        EXPECT_EQ(times.ticks_per_frame, 1);
        EXPECT_TRUE(same(times.codec_time_base, {1, 25}));
    }
    EXPECT_TRUE(same(ffmpeg::video_times(AV_CODEC_ID_H264, {0, 1}, {1, 25}).codec_time_base, {0, 1}));
}

uint32_t tag_of(const std::string& text) {
    return AV_RL32(text.data());
}

uint32_t tag_in(const char* container, AVCodecID codec, const std::string& tag) {
    return ffmpeg::tag_of_copy(*av_guess_format(container, nullptr, nullptr), codec, tag_of(tag));
}

TEST(TagOfACopy, IsTheSourcesWhereTheContainerKnowsItOrKnowsNone) {
    EXPECT_EQ(tag_in("mov", AV_CODEC_ID_H264, "avc1"), tag_of("avc1"));
    EXPECT_EQ(tag_in("avi", AV_CODEC_ID_H264, "H264"), tag_of("H264"));
    EXPECT_EQ(tag_in("mpegts", AV_CODEC_ID_H264, "avc1"), tag_of("avc1")) << "it has no tags";
    EXPECT_EQ(tag_in("mp4", AV_CODEC_ID_PRORES, "apcn"), tag_of("apcn")) << "it has none for this codec";
}

TEST(TagOfACopy, IsLeftToTheMuxerWhereItMeansSomethingElse) {
    EXPECT_EQ(tag_in("mp4", AV_CODEC_ID_H264, "H264"), 0U);
    EXPECT_EQ(tag_in("avi", AV_CODEC_ID_MPEG2VIDEO, "hdv2"), 0U);
}

}  // namespace
}  // namespace qmio::test
