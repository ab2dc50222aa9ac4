#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "core/text/option_passes.h"
#include "support/trace_lines.h"

namespace qmio {
namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

Entries entries_of(const AVDictionary* dictionary) {
    Entries entries;
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(dictionary, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr)
        entries.emplace_back(entry->key, entry->value);
    return entries;
}

ffmpeg::CodecContextPtr encoder_context(const char* encoder) {
    return ffmpeg::CodecContextPtr(avcodec_alloc_context3(avcodec_find_encoder_by_name(encoder)));
}

Entries video_encoder_entries(const char* encoder, const char* options) {
    ffmpeg::Dictionary dictionary;
    add_video_encoder_options(*encoder_context(encoder), dictionary, Options(options));
    return entries_of(dictionary.entries());
}

Entries audio_encoder_entries(const char* encoder, const char* options) {
    ffmpeg::Dictionary dictionary;
    add_audio_encoder_options(*encoder_context(encoder), dictionary, Options(options));
    return entries_of(dictionary.entries());
}

Entries video_decoder_entries(const char* decoder, const char* options) {
    const ffmpeg::CodecContextPtr context(avcodec_alloc_context3(avcodec_find_decoder_by_name(decoder)));
    ffmpeg::Dictionary dictionary;
    add_video_decoder_options(*context, dictionary, Options(options));
    return entries_of(dictionary.entries());
}

Entries muxer_entries(const char* muxer, const char* options) {
    AVFormatContext* context = nullptr;
    avformat_alloc_output_context2(&context, nullptr, muxer, nullptr);
    const ffmpeg::FormatContextPtr owner(context);
    ffmpeg::Dictionary dictionary;
    add_format_options(*context, dictionary, Options(options));
    return entries_of(dictionary.entries());
}

TEST(VideoEncoderOptions, SuffixForVideoIsCutAndTheOthersAreLeftOut) {
    EXPECT_EQ(video_encoder_entries("mpeg4", "b:v=2M"), (Entries{{"b", "2M"}}));
    EXPECT_EQ(video_encoder_entries("mpeg4", "b:a=128k"), Entries{});
    EXPECT_EQ(video_encoder_entries("mpeg4", "b:s=1"), Entries{});
    EXPECT_EQ(video_encoder_entries("mpeg4", "b:=1"), Entries{});
    EXPECT_EQ(video_encoder_entries("mpeg4", "b:v:0=1"), Entries{});
}

TEST(VideoEncoderOptions, TheEncodersOwnOptionsAreTaken) {
    EXPECT_EQ(video_encoder_entries("ffv1", "slicecrc=1,g=12"), (Entries{{"slicecrc", "1"}, {"g", "12"}}));
    EXPECT_EQ(video_encoder_entries("mpeg4", "slicecrc=1,g=12"), (Entries{{"g", "12"}}));
}

TEST(VideoEncoderOptions, OptionsOfAudioAndOfDecodersAreLeftOut) {
    EXPECT_EQ(video_encoder_entries("mpeg4", "cutoff=1,skip_frame=nokey,g=12"), (Entries{{"g", "12"}}));
}

TEST(VideoEncoderOptions, UnknownKeysAreIgnored) {
    EXPECT_EQ(video_encoder_entries("mpeg4", "no_such_option=1,,=2, "), Entries{});
    EXPECT_EQ(video_encoder_entries("mpeg4", nullptr), Entries{});
}

TEST(VideoEncoderOptions, LaterPairsReplaceEarlierOnes) {
    EXPECT_EQ(video_encoder_entries("mpeg4", "b:v=2M,b=3M"), (Entries{{"b", "3M"}}));
}

TEST(AudioEncoderOptions, SuffixForAudioIsCutAndTheOthersAreLeftOut) {
    EXPECT_EQ(audio_encoder_entries("aac", "b:a=128k"), (Entries{{"b", "128k"}}));
    EXPECT_EQ(audio_encoder_entries("aac", "b:v=2M,b:s=1"), Entries{});
}

TEST(AudioEncoderOptions, TheEncodersOwnOptionsAreNotSearched) {
    EXPECT_EQ(audio_encoder_entries("aac", "aac_coder=fast,cutoff=15000"), (Entries{{"cutoff", "15000"}}));
}

TEST(VideoDecoderOptions, OnlyDecodingOptionsOfVideoAreTaken) {
    EXPECT_EQ(video_decoder_entries("mpeg4", "threads=2,skip_frame:v=nokey,g=12,cutoff=1"),
              (Entries{{"threads", "2"}, {"skip_frame", "nokey"}}));
}

TEST(VideoDecoderOptions, TheDecodersOwnOptionsAreNotSearched) {
    EXPECT_EQ(video_decoder_entries("h264", "is_avc=1,threads=1"), (Entries{{"threads", "1"}}));
}

TEST(VideoDecoderOptions, TheHostsThreadCountReplacesTheDefault) {
    EXPECT_EQ(video_decoder_entries("mpeg4", "threads=0 threads=3"), (Entries{{"threads", "3"}}));
}

TEST(FormatOptions, OptionsOfTheContextAndOfItsMuxerAreTaken) {
    EXPECT_EQ(muxer_entries("mp4", "fflags=bitexact,movflags=faststart,g=12"),
              (Entries{{"fflags", "bitexact"}, {"movflags", "faststart"}}));
    EXPECT_EQ(muxer_entries("avi", "movflags=faststart"), Entries{});
}

TEST(FormatOptions, CaptureOptionsAreAlwaysTaken) {
    EXPECT_EQ(muxer_entries("mp4", "video_size=1280x720,pixel_format=uyvy422,framerate=25"),
              (Entries{{"video_size", "1280x720"}, {"pixel_format", "uyvy422"}, {"framerate", "25"}}));
}

TEST(FormatOptions, NoKeyWithAStreamSuffixIsTaken) {
    EXPECT_EQ(muxer_entries("mp4", "fflags:v=bitexact,fflags:a=bitexact,b:v=2M,video_size:v=1x1"), Entries{});
}

TEST(Options, CommentLinesReachNoPass) {
    EXPECT_EQ(video_encoder_entries("mpeg4", "g=12\n#g=13\n/g=14\n;g=15\nb:v=1M"), (Entries{{"g", "12"}, {"b", "1M"}}));
}

TEST(OptionDump, OneLinePerEntryInTheirOrder) {
    ffmpeg::Dictionary dictionary;
    dictionary.set("movflags", "faststart");
    dictionary.set("b", "2M");
    const test::TraceLines lines(TraceSwitch::options);
    dump_dictionary(dictionary, L"qmio_create_u8");
    EXPECT_EQ(lines.read(),
              (std::vector<std::string>{"qmio_create_u8: \t[movflags] = [faststart]", "qmio_create_u8: \t[b] = [2M]"}));
}

TEST(OptionDump, NothingWithoutEntriesOrWithoutTheSwitch) {
    ffmpeg::Dictionary dictionary;
    {
        const test::TraceLines lines(TraceSwitch::options);
        dump_dictionary(dictionary, L"qmio_create_u8");
        EXPECT_TRUE(lines.read().empty());
    }
    dictionary.set("b", "2M");
    const test::TraceLines lines(TraceSwitch::create);
    dump_dictionary(dictionary, L"qmio_create_u8");
    EXPECT_TRUE(lines.read().empty());
}

}  // namespace
}  // namespace qmio
