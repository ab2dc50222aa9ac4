// Codecs by id, with and without vetoes.
#include "ffmpeg/codec_lookup.h"

#include <gtest/gtest.h>
#include <qmio.h>

#include <string>

namespace {

using namespace qmio::ffmpeg;

constexpr int kMostCodecsOfOneId = 50;

std::string name_of(const AVCodec* codec) {
    return codec != nullptr ? codec->name : "none";
}

class CodecLookup : public testing::Test {
  protected:
    CodecLookup() { clear_vetoes(); }  // those of start-up
    ~CodecLookup() override { clear_vetoes(); }
};

// The decoder that FFmpeg registers after `name` for the same id.
std::string next_decoder(const std::string& name) {
    const AVCodec* codec = avcodec_find_decoder_by_name(name.c_str());
    void* position = nullptr;
    bool passed = false;
    while (const AVCodec* other = av_codec_iterate(&position)) {
        if (passed && av_codec_is_decoder(other) && other->id == codec->id)
            return other->name;
        passed = passed || other == codec;
    }
    return "none";
}

TEST_F(CodecLookup, AgreesWithFFmpegWhereNothingIsVetoed) {
    const AVCodecDescriptor* descriptor = nullptr;
    while ((descriptor = avcodec_descriptor_next(descriptor)) != nullptr) {
        EXPECT_EQ(find_decoder(descriptor->id), avcodec_find_decoder(descriptor->id)) << descriptor->name;
        EXPECT_EQ(find_encoder(descriptor->id), avcodec_find_encoder(descriptor->id)) << descriptor->name;
    }
}

TEST_F(CodecLookup, VetoedDecoderGivesWayToTheNextOfItsId) {
    const std::string next = next_decoder("mp3float");
    ASSERT_EQ(name_of(find_decoder(AV_CODEC_ID_MP3)), "mp3float");
    ASSERT_NE(next, "none");
    veto_decoder("mp3float");
    EXPECT_EQ(name_of(find_decoder(AV_CODEC_ID_MP3)), next);
}

TEST_F(CodecLookup, NothingIsLeftWhenEveryDecoderIsVetoed) {
    for (int count = 0; count < kMostCodecsOfOneId; ++count)
        veto_decoder(name_of(find_decoder(AV_CODEC_ID_MP3)).c_str());
    EXPECT_EQ(find_decoder(AV_CODEC_ID_MP3), nullptr);
}

TEST_F(CodecLookup, VetoesOfDecodersSpareEncodersAndTheReverse) {
    veto_decoder("mpeg4");
    EXPECT_NE(name_of(find_decoder(AV_CODEC_ID_MPEG4)), "mpeg4");
    EXPECT_EQ(name_of(find_encoder(AV_CODEC_ID_MPEG4)), "mpeg4");
    veto_encoder("mpeg2video");
    EXPECT_NE(name_of(find_encoder(AV_CODEC_ID_MPEG2VIDEO)), "mpeg2video");
    EXPECT_EQ(name_of(find_decoder(AV_CODEC_ID_MPEG2VIDEO)), "mpeg2video");
}

TEST_F(CodecLookup, LookupsByNameStillFindVetoedCodecs) {
    veto_decoder("mp3float");
    EXPECT_EQ(name_of(avcodec_find_decoder_by_name("mp3float")), "mp3float");
}

TEST_F(CodecLookup, UnknownNamesAreIgnored) {
    veto_decoder("no such decoder");
    veto_encoder("");
    EXPECT_EQ(name_of(find_decoder(AV_CODEC_ID_MP3)), "mp3float");
}

TEST_F(CodecLookup, VetoesCanBeForgotten) {
    veto_decoder("mp3float");
    clear_vetoes();
    EXPECT_EQ(name_of(find_decoder(AV_CODEC_ID_MP3)), "mp3float");
}

TEST_F(CodecLookup, ExperimentalCodecsComeLast) {
    // Of the encoders of this id FFmpeg marks its own as experimental; it is found when it is all there is.
    bool seen_experimental = false;
    for (int count = 0; count < kMostCodecsOfOneId; ++count) {
        const AVCodec* encoder = find_encoder(AV_CODEC_ID_VORBIS);
        if (encoder == nullptr)
            break;
        const bool experimental = (encoder->capabilities & AV_CODEC_CAP_EXPERIMENTAL) != 0;
        EXPECT_TRUE(experimental || !seen_experimental) << encoder->name;
        seen_experimental = experimental;
        veto_encoder(encoder->name);
    }
    EXPECT_TRUE(seen_experimental);
}

TEST_F(CodecLookup, NoCodecHasTheIdOfNone) {
    EXPECT_EQ(find_decoder(AV_CODEC_ID_NONE), nullptr);
    EXPECT_EQ(find_encoder(AV_CODEC_ID_NONE), nullptr);
}

TEST_F(CodecLookup, VetoedEncoderIsNotTheFirstCodecOfAFormat) {
    const AVOutputFormat* const avi = av_guess_format("avi", nullptr, nullptr);
    const AVCodec* const encoder = qmio_get_format_prop(avi, "vcodec");
    ASSERT_TRUE(encoder != nullptr && av_codec_is_encoder(encoder));
    veto_encoder(encoder->name);
    const AVCodec* const next = qmio_get_format_prop(avi, "vcodec");
    ASSERT_NE(next, nullptr);
    EXPECT_NE(next, encoder);
    EXPECT_EQ(next->id, encoder->id);
}

}  // namespace
