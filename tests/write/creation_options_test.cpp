#include "write/creation_options.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "audio/sample_formats.h"
#include "support/trace_lines.h"

namespace qmio::write {
namespace {

AskedFile read(const std::string& options) {
    return read_creation_options(Options(options.c_str()));
}

uint32_t tag(const char (&letters)[5]) {
    const auto letter = [&](int index) { return uint32_t{static_cast<uint8_t>(letters[index])}; };
    return MKTAG(letter(0), letter(1), letter(2), letter(3));
}

// An address as traces print it.
std::string address(const void* pointer) {
    char text[20];
    std::snprintf(text, sizeof text, "%016llX", static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(pointer)));
    return text;
}

std::vector<std::string> traced(const char* options) {
    const test::TraceLines lines(TraceSwitch::options);
    read(options);
    return lines.read();
}

TEST(CreationOptions, ContainerNameInCapitalsIsTheSameContainer) {
    const AVOutputFormat* mp4 = av_guess_format("mp4", nullptr, nullptr);
    ASSERT_NE(mp4, nullptr);
    EXPECT_EQ(read("fmt=mp4").output_format, mp4);
    EXPECT_EQ(read("fmt=MP4").output_format, mp4);
    EXPECT_EQ(read("f=Mp4").output_format, mp4);
}

TEST(CreationOptions, NoOtherValueIsLowercased) {
    const AskedFile file = read("vcodec=MPEG4,pix=YUV420P,acodec=AAC,afmt=S16");
    EXPECT_EQ(file.video_encoder, nullptr);
    EXPECT_EQ(file.pix_fmt, AV_PIX_FMT_NONE);
    EXPECT_EQ(file.tracks.at(0).encoder, nullptr);
    EXPECT_EQ(file.tracks.at(0).form.format, AV_SAMPLE_FMT_NONE);
}

TEST(CreationOptions, ContainerIsNotGuessedFromAnExtension) {
    EXPECT_EQ(read("fmt=movie.mp4").output_format, nullptr);
    EXPECT_EQ(read("fmt=").output_format, nullptr);
}

TEST(CreationOptions, EveryNameOfTheVideoEncoderKeyCounts) {
    const AVCodec* encoder = avcodec_find_encoder_by_name("mpeg4");
    ASSERT_NE(encoder, nullptr);
    for (const char* key : {"codec", "vcodec", "codec:v", "c:v"})
        EXPECT_EQ(read(key + std::string("=mpeg4")).video_encoder, encoder) << key;
    EXPECT_EQ(read("Vcodec=mpeg4").video_encoder, nullptr);
}

TEST(CreationOptions, PictureIsDescribedByFormatAndSize) {
    const AskedFile file = read("pix=yuv420p,width=1280,height=720");
    EXPECT_EQ(file.pix_fmt, AV_PIX_FMT_YUV420P);
    EXPECT_EQ(file.width, 1280);
    EXPECT_EQ(file.height, 720);
    EXPECT_EQ(read("pix_fmt=bgra,size=64x32").pix_fmt, AV_PIX_FMT_BGRA);
}

TEST(CreationOptions, TagsAreOfTheFileTheVideoOrTheTrackBegunLast) {
    const AskedFile file = read(
        "tag:a:title=lost,tag:title=\"One, "
        "two\",tag:v:title=V,acodec=flac,tag:a:language=deu,acodec=flac,tag:a:title=B b,"
        "tag=none");
    const auto pairs = [](const Options& tags) { return std::vector<Option>(tags.begin(), tags.end()); };
    EXPECT_EQ(pairs(file.tags), (std::vector<Option>{{"title", "One, two"}}));
    EXPECT_EQ(pairs(file.video_tags), (std::vector<Option>{{"title", "V"}}));
    ASSERT_EQ(file.tracks.size(), 2U);
    EXPECT_EQ(pairs(file.tracks[0].tags), (std::vector<Option>{{"language", "deu"}}));
    EXPECT_EQ(pairs(file.tracks[1].tags), (std::vector<Option>{{"title", "B"}}));
}

TEST(CreationOptions, AbsurdSizesEndAtTheLimit) {
    EXPECT_EQ(read("width=99G").width, std::numeric_limits<int32_t>::max());
}

TEST(CreationOptions, SizeWithoutCrossIsAWidth) {
    const AskedFile file = read("height=7,size=1280");
    EXPECT_EQ(file.width, 1280);
    EXPECT_EQ(file.height, 0);
}

TEST(CreationOptions, SizeReadsEachNumberWithItsOwnLetters) {
    const AskedFile file = read("size=1kx2ki");
    EXPECT_EQ(file.width, 1000);
    EXPECT_EQ(file.height, 2048);
    EXPECT_EQ(read("size=x480").width, 0);
    EXPECT_EQ(read("size=x480").height, 480);
}

TEST(CreationOptions, EveryAudioEncoderBeginsATrack) {
    const AskedFile file = read("acodec=aac,ar=48000,ac=2,acodec=mp2,ar=44100");
    EXPECT_EQ(file.tracks.size(), 2U);
    EXPECT_EQ(file.tracks.at(0).encoder, avcodec_find_encoder_by_name("aac"));
    EXPECT_EQ(file.tracks.at(1).encoder, avcodec_find_encoder_by_name("mp2"));
    EXPECT_EQ(file.tracks.at(0).form.rate, 48000);
    EXPECT_EQ(file.tracks.at(1).form.rate, 44100);
    EXPECT_EQ(file.tracks.at(0).form.channels, 2);
    EXPECT_EQ(file.tracks.at(1).form.channels, 0);
}

TEST(CreationOptions, EveryNameOfTheAudioKeysCounts) {
    const AskedFile file = read("acodec=aac,codec:a=mp2,c:a=flac,sample_rate=48k,channels=6,sample_fmt=s32");
    EXPECT_EQ(file.tracks.size(), 3U);
    EXPECT_EQ(file.tracks.at(2).encoder, avcodec_find_encoder_by_name("flac"));
    EXPECT_EQ(file.tracks.at(2).form.rate, 48000);
    EXPECT_EQ(file.tracks.at(2).form.channels, 6);
    EXPECT_EQ(file.tracks.at(2).form.format, AV_SAMPLE_FMT_S32);
}

TEST(CreationOptions, UnknownAudioEncoderStillCountsAsATrack) {
    const AskedFile file = read("acodec=no_such_encoder,ar=8000,acodec=aac");
    EXPECT_EQ(file.tracks.size(), 2U);
    EXPECT_EQ(file.tracks.at(0).encoder, nullptr);
    EXPECT_EQ(file.tracks.at(0).form.rate, 8000);
    EXPECT_NE(file.tracks.at(1).encoder, nullptr);
}

TEST(CreationOptions, AudioParametersBeforeTheFirstEncoderAreIgnored) {
    const AskedFile file = read("ar=8000,ac=1,afmt=16,atag=abcd,acodec=aac");
    EXPECT_EQ(file.tracks.size(), 1U);
    EXPECT_EQ(file.tracks.at(0).form, AskedTrack().form);
}

TEST(CreationOptions, SeventeenthAudioEncoderIsIgnoredWithItsParameters) {
    std::string options;
    for (int track = 0; track < 20; ++track)
        options += "acodec=aac,ar=" + std::to_string(1000 + track) + ",ac=2,afmt=16,atag=abcd,";
    const AskedFile file = read(options);
    EXPECT_EQ(file.tracks.size(), 16U);
    EXPECT_EQ(file.tracks.at(15).form.rate, 1015);
    EXPECT_EQ(file.width, 0);
}

TEST(CreationOptions, SampleFormatIsANumberOrAName) {
    EXPECT_EQ(read("acodec=aac,afmt=-1").tracks.at(0).form.format, AV_SAMPLE_FMT_FLTP);
    EXPECT_EQ(read("acodec=aac,afmt=7").tracks.at(0).form.format, AV_SAMPLE_FMT_NONE);
    EXPECT_EQ(read("acodec=aac,afmt=s16p").tracks.at(0).form.format, AV_SAMPLE_FMT_S16P);
    EXPECT_EQ(read("acodec=aac,afmt=+16").tracks.at(0).form.format, AV_SAMPLE_FMT_S16);
    EXPECT_EQ(read("acodec=aac,afmt=no_such_format").tracks.at(0).form.format, AV_SAMPLE_FMT_NONE);
    EXPECT_EQ(read("acodec=aac,afmt=99999999999").tracks.at(0).form.format, AV_SAMPLE_FMT_NONE);
}

TEST(CreationOptions, EverySampleFormatHasItsNumber) {
    const std::pair<int32_t, const char*> codes[] = {{8, "u8"},     {16, "s16"},  {32, "s32"},   {0, "flt"},
                                                     {64, "dbl"},   {128, "s64"}, {-8, "u8p"},   {-16, "s16p"},
                                                     {-32, "s32p"}, {-1, "fltp"}, {-64, "dblp"}, {-128, "s64p"}};
    for (const auto& [code, name] : codes)
        EXPECT_STREQ(av_get_sample_fmt_name(audio::sample_format_from_code(code)), name) << code;
    for (const int32_t code : {1, 7, -2, 24, 127, 129, std::numeric_limits<int32_t>::max()})
        EXPECT_EQ(audio::sample_format_from_code(code), AV_SAMPLE_FMT_NONE) << code;
}

TEST(CreationOptions, ShortTagIsFilledWithSpaces) {
    EXPECT_EQ(read("vtag=ab").video_tag, tag("ab  "));
    EXPECT_EQ(read("vtag=").video_tag, tag("    "));
}

TEST(CreationOptions, LongTagIsCutAfterFourCharacters) {
    EXPECT_EQ(read("vtag=avc1x").video_tag, tag("avc1"));
}

TEST(CreationOptions, TagsMayHoldAnyCharacter) {
    EXPECT_EQ(read("vtag=\xff\xfe\xfd\xfc").video_tag, 0xfcfdfeffu);
}

TEST(CreationOptions, LaterPairsReplaceEarlierOnes) {
    const AskedFile file = read("width=1,size=640x480,width=320,fmt=avi,fmt=mov");
    EXPECT_EQ(file.width, 320);
    EXPECT_EQ(file.height, 480);
    EXPECT_EQ(file.output_format, av_guess_format("mov", nullptr, nullptr));
}

TEST(CreationOptions, WhatTheTextDoesNotNameIsNotAskedFor) {
    const AskedFile file = read("b:v=2M,title=x");
    EXPECT_EQ(file.output_format, nullptr);
    EXPECT_EQ(file.video_encoder, nullptr);
    EXPECT_EQ(file.width, 0);
    EXPECT_EQ(file.pix_fmt, AV_PIX_FMT_NONE);
    EXPECT_TRUE(file.tracks.empty());
    EXPECT_EQ(read_creation_options(Options()).output_format, nullptr);
}

TEST(CreationOptions, CommentLinesAreSkipped) {
    const AskedFile file = read("width=1\n#width=2\n;width=3\n/width=4\nheight=5");
    EXPECT_EQ(file.width, 1);
    EXPECT_EQ(file.height, 5);
}

TEST(CreationTrace, TellsTheTextAndWhatEveryKeyBecame) {
    const AVCodec* video = avcodec_find_encoder_by_name("mpeg4");
    const AVCodec* audio = avcodec_find_encoder_by_name("aac");
    EXPECT_EQ(traced("fmt=MP4,vcodec=mpeg4,pix=bgra,width=1k,size=64x32,acodec=aac,ac=2,ar=48k,afmt=-1,vtag=abcdef"),
              (std::vector<std::string>{
                  "opt_global: [fmt=MP4,vcodec=mpeg4,pix=bgra,width=1k,size=64x32,acodec=aac,ac=2,ar=48k,afmt=-1,"
                  "vtag=abcdef]:",
                  "opt_global: \tfmt=MP4 (" + address(av_guess_format("mp4", nullptr, nullptr)) + ")",
                  "opt_global: \tvcodec=mpeg4 (" + address(video) + ") id " + std::to_string(video->id) + " [mpeg4]",
                  "opt_global: \tpix=bgra (30)",
                  "opt_global: \twidth=1k (1000)",
                  "opt_global: \tsize=64x32 (64x32)",
                  "opt_global: \tacodec=aac audio codec, track 0",
                  "opt_global: \t" + address(audio) + ", id " + std::to_string(audio->id),
                  "opt_global: \tac=2 audio num chans 2",
                  "opt_global: \tar=48k audio rate 48000",
                  "opt_global: \tafmt=-1 audio sample src -1, dst 8",
                  "opt_global: \tvtag=abcdef (abcd)",
              }));
}

TEST(CreationTrace, UnknownEncodersAreTracedWithoutOne) {
    EXPECT_EQ(traced("vcodec=none,acodec=none,afmt=s16,atag=x,b=1"),
              (std::vector<std::string>{
                  "opt_global: [vcodec=none,acodec=none,afmt=s16,atag=x,b=1]:",
                  "opt_global: \tvcodec=none (" + address(nullptr) + ") id -1 []",
                  "opt_global: \tacodec=none audio codec, track 0",
                  "opt_global: \t" + address(nullptr) + ", id -1",
                  "opt_global: \tafmt=s16 audio sample src 0, dst 1",
              }));
}

}  // namespace
}  // namespace qmio::write
