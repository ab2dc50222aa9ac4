// What the linked FFmpeg can write and decode, held against FFmpeg's own registries.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
}

#include <gtest/gtest.h>
#include <qmio.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "info/registries.h"
#include "support/release_names.h"

namespace qmio::test {
namespace {

template <class Value>
std::vector<Value> ended_by(const void* list, Value end) {
    std::vector<Value> values;
    for (const Value* value = static_cast<const Value*>(list); values.empty() || values.back() != end; ++value)
        values.push_back(*value);
    return values;
}

// A buffer of the size that hosts are asked to have, filled with something else.
template <std::size_t size>
struct TextBuffer {
    TextBuffer() { text.fill('?'); }
    char* data() { return text.data(); }
    std::string str() const { return std::string(text.data(), strnlen(text.data(), size)); }
    std::array<char, size> text;
};
using CodecText = TextBuffer<64>;
using FormatText = TextBuffer<1024>;

const AVCodec* encoder(const char* name) {
    return avcodec_find_encoder_by_name(name);
}

// ---- walking ----

TEST(CodecWalk, MeetsEveryCodecOfFfmpegInItsOrder) {
    std::vector<const AVCodec*> walked;
    for (const AVCodec* codec = qmio_first_codec(); codec != nullptr; codec = qmio_next_codec(codec))
        walked.push_back(codec);
    EXPECT_GT(walked.size(), 100U);
    EXPECT_EQ(walked, codecs_of_ffmpeg());
}

TEST(CodecWalk, GoesOnFromAnyCodec) {
    const std::vector<const AVCodec*> codecs = codecs_of_ffmpeg();
    for (std::size_t index = codecs.size(); index-- > 0;)
        EXPECT_EQ(qmio_next_codec(codecs[index]), index + 1 < codecs.size() ? codecs[index + 1] : nullptr)
            << codecs[index]->name;
    EXPECT_EQ(qmio_next_codec(encoder("mjpeg")), *(std::find(codecs.begin(), codecs.end(), encoder("mjpeg")) + 1));
}

TEST(CodecWalk, EndsBehindACodecThatIsInNoList) {
    const AVCodec stranger = *qmio_first_codec();
    EXPECT_EQ(qmio_next_codec(&stranger), nullptr);
}

TEST(FormatWalk, MeetsEveryMuxerOfFfmpegInItsOrder) {
    std::vector<const AVOutputFormat*> walked;
    for (const AVOutputFormat* format = qmio_first_format(); format != nullptr; format = qmio_next_format(format))
        walked.push_back(format);
    EXPECT_GT(walked.size(), 50U);
    EXPECT_EQ(walked, formats_of_ffmpeg());
}

TEST(FormatWalk, GoesOnFromAnyFormat) {
    const std::vector<const AVOutputFormat*> formats = formats_of_ffmpeg();
    for (std::size_t index = formats.size(); index-- > 0;)
        EXPECT_EQ(qmio_next_format(formats[index]), index + 1 < formats.size() ? formats[index + 1] : nullptr)
            << formats[index]->name;
}

TEST(FormatWalk, EndsBehindAFormatThatIsInNoList) {
    const AVOutputFormat stranger = *qmio_first_format();
    EXPECT_EQ(qmio_next_format(&stranger), nullptr);
}

// ---- kinds ----

TEST(IsCodec, AnswersEveryKindForEveryCodec) {
    for (const AVCodec* codec : codecs_of_ffmpeg()) {
        EXPECT_EQ(qmio_is_codec(codec, "video"), codec->type == AVMEDIA_TYPE_VIDEO) << codec->name;
        EXPECT_EQ(qmio_is_codec(codec, "audio"), codec->type == AVMEDIA_TYPE_AUDIO) << codec->name;
        EXPECT_EQ(qmio_is_codec(codec, "data"), codec->type == AVMEDIA_TYPE_DATA) << codec->name;
        EXPECT_EQ(qmio_is_codec(codec, "subtitle"), codec->type == AVMEDIA_TYPE_SUBTITLE) << codec->name;
        EXPECT_EQ(qmio_is_codec(codec, "encoder"), av_codec_is_encoder(codec) != 0) << codec->name;
        EXPECT_EQ(qmio_is_codec(codec, "decoder"), av_codec_is_decoder(codec) != 0) << codec->name;
    }
}

TEST(IsCodec, TakesKindsInAnyCaseAndNoOthers) {
    const AVCodec* codec = encoder("mjpeg");
    EXPECT_EQ(qmio_is_codec(codec, "VIDEO"), 1);
    EXPECT_EQ(qmio_is_codec(codec, "Encoder"), 1);
    EXPECT_EQ(qmio_is_codec(codec, "DECODER"), 0);
    for (const char* kind : {"", "vid", "videos", "attachment", static_cast<const char*>(nullptr)})
        EXPECT_EQ(qmio_is_codec(codec, kind), 0);
}

TEST(IsFormat, TellsWhatEveryMuxerHoldsByDefault) {
    for (const AVOutputFormat* format : formats_of_ffmpeg()) {
        EXPECT_EQ(qmio_is_format(format, "Video"), format->video_codec != AV_CODEC_ID_NONE) << format->name;
        EXPECT_EQ(qmio_is_format(format, "AUDIO"), format->audio_codec != AV_CODEC_ID_NONE) << format->name;
        EXPECT_EQ(qmio_is_format(format, "subtitle"), 0) << format->name;
    }
    EXPECT_EQ(qmio_is_format(av_guess_format("wav", nullptr, nullptr), "video"), 0);
    EXPECT_EQ(qmio_is_format(av_guess_format("wav", nullptr, nullptr), "audio"), 1);
    EXPECT_EQ(qmio_is_format(av_guess_format("wav", nullptr, nullptr), nullptr), 0);
}

// ---- what a codec says of itself ----

TEST(CodecInfo, NameIsReturnedAndCopied) {
    for (const AVCodec* codec : codecs_of_ffmpeg()) {
        CodecText buffer;
        EXPECT_EQ(qmio_get_codec_info(codec, buffer.data(), "name"), codec->name);
        EXPECT_EQ(buffer.str(), codec->name);
        CodecText other;
        EXPECT_EQ(qmio_get_codec_info(codec, other.data(), nullptr), codec->name);
        EXPECT_EQ(other.str(), codec->name);
        EXPECT_EQ(qmio_get_codec_info(codec, nullptr, "name"), codec->name);
        EXPECT_EQ(qmio_get_codec_info(codec, nullptr, nullptr), codec->name);
    }
}

TEST(CodecInfo, PixelFormatsAreTheInterfacesNumbersEndedByMinusOne) {
    int with_list = 0;
    for (const AVCodec* codec : codecs_of_ffmpeg()) {
        const void* list = qmio_get_codec_info(codec, nullptr, "format");
        ASSERT_EQ(list != nullptr, pixel_formats_of(*codec) != nullptr) << codec->name;
        if (list == nullptr)
            continue;
        ++with_list;
        EXPECT_EQ(ended_by<int32_t>(list, -1), in_interface_numbers(pixel_formats_of(*codec))) << codec->name;
    }
    EXPECT_GT(with_list, 30);
}

// FFmpeg has renumbered its formats since: a translated list differs from FFmpeg's own.
TEST(CodecInfo, PixelFormatNumbersAreNotFfmpegsOwn) {
    const std::vector<int32_t> formats = ended_by<int32_t>(qmio_get_codec_info(encoder("png"), nullptr, "format"), -1);
    for (const char* name : {"AV_PIX_FMT_RGB24", "AV_PIX_FMT_RGBA", "AV_PIX_FMT_RGBA64BE", "AV_PIX_FMT_GRAY8"})
        EXPECT_NE(std::find(formats.begin(), formats.end(), qmio_fmtid(name)), formats.end()) << name;
}

TEST(CodecInfo, SampleFormatsAndRatesAreFfmpegsOwnLists) {
    int formats = 0, rates = 0;
    for (const AVCodec* codec : codecs_of_ffmpeg()) {
        EXPECT_EQ(qmio_get_codec_info(codec, nullptr, "sample_fmts"), sample_formats_of(*codec)) << codec->name;
        EXPECT_EQ(qmio_get_codec_info(codec, nullptr, "sample_rates"), sample_rates_of(*codec)) << codec->name;
        formats += sample_formats_of(*codec) != nullptr;
        rates += sample_rates_of(*codec) != nullptr;
    }
    EXPECT_GT(formats, 30);
    EXPECT_GT(rates, 5);
    EXPECT_EQ(ended_by<int>(qmio_get_codec_info(encoder("mp2"), nullptr, "sample_rates"), 0).back(), 0);
    EXPECT_EQ(ended_by<int>(qmio_get_codec_info(encoder("mp2"), nullptr, "sample_fmts"), -1).front(),
              AV_SAMPLE_FMT_S16);
}

TEST(CodecInfo, ListsAreTheSameAtEveryCallAndOnEveryThread) {
    const std::vector<const AVCodec*> codecs = codecs_of_ffmpeg();
    std::array<std::vector<const void*>, 4> seen;
    std::vector<std::thread> threads;
    threads.reserve(seen.size());
    for (std::vector<const void*>& lists : seen)
        threads.emplace_back([&lists, &codecs] {
            for (const AVCodec* codec : codecs)
                lists.push_back(qmio_get_codec_info(codec, nullptr, "format"));
        });
    for (std::thread& thread : threads)
        thread.join();
    for (const std::vector<const void*>& lists : seen)
        EXPECT_EQ(lists, seen[0]);
    EXPECT_EQ(qmio_get_codec_info(encoder("mjpeg"), nullptr, "format"),
              qmio_get_codec_info(encoder("mjpeg"), nullptr, "format"));
}

TEST(CodecInfo, OtherKeysGiveNullAndAnEmptyText) {
    for (const char* key : {"Name", "NAME", "Format", "SAMPLE_FMTS", "sample_rate", "", "descr"}) {
        CodecText buffer;
        EXPECT_EQ(qmio_get_codec_info(encoder("mjpeg"), buffer.data(), key), nullptr) << key;
        EXPECT_EQ(buffer.str(), "") << key;
        EXPECT_EQ(qmio_get_codec_info(encoder("mjpeg"), nullptr, key), nullptr) << key;
    }
}

TEST(CodecInfo, ListsLeaveTheTextEmpty) {
    for (const char* key : {"format", "sample_fmts", "sample_rates"}) {
        CodecText buffer;
        qmio_get_codec_info(encoder("mp2"), buffer.data(), key);
        EXPECT_EQ(buffer.str(), "") << key;
    }
}

// ---- what a format is called ----

std::string with_patterns(const AVOutputFormat& format) {
    std::string text = std::string(format.long_name) + " - " + format.name;
    if (format.extensions == nullptr || format.extensions[0] == '\0')
        return text;
    text += " (";
    const char* extension = format.extensions;
    for (bool first = true; extension != nullptr; first = false) {
        const char* comma = std::strchr(extension, ',');
        text += first ? "*." : ";*.";
        text += comma != nullptr ? std::string(extension, comma) : std::string(extension);
        extension = comma != nullptr ? comma + 1 : nullptr;
    }
    return text + ")";
}

TEST(FormatInfo, DescribesEveryMuxerWithItsPatterns) {
    for (const AVOutputFormat* format : formats_of_ffmpeg()) {
        for (const char* key : {static_cast<const char*>(nullptr), "descr", "Name", "anything"}) {
            FormatText buffer;
            EXPECT_EQ(qmio_get_format_info(format, buffer.data(), key), buffer.data());
            EXPECT_EQ(buffer.str(), with_patterns(*format));
            EXPECT_EQ(qmio_get_format_info(format, nullptr, key), nullptr);
        }
    }
}

TEST(FormatInfo, ListOfTwoExtensionsReadsAsADialogWantsIt) {
    AVOutputFormat format = *av_guess_format("mp4", nullptr, nullptr);
    format.extensions = "mp4,m4a";
    FormatText buffer;
    EXPECT_STREQ(qmio_get_format_info(&format, buffer.data(), "descr"), "MP4 (MPEG-4 Part 14) - mp4 (*.mp4;*.m4a)");
}

TEST(FormatInfo, FormatWithoutExtensionsHasNoBrackets) {
    AVOutputFormat format = *av_guess_format("mp4", nullptr, nullptr);
    for (const char* extensions : {static_cast<const char*>(nullptr), ""}) {
        format.extensions = extensions;
        FormatText buffer;
        EXPECT_STREQ(qmio_get_format_info(&format, buffer.data(), "descr"), "MP4 (MPEG-4 Part 14) - mp4");
    }
}

TEST(FormatInfo, NameIsReturnedAndCopied) {
    for (const AVOutputFormat* format : formats_of_ffmpeg()) {
        FormatText buffer;
        EXPECT_EQ(qmio_get_format_info(format, buffer.data(), "name"), format->name);
        EXPECT_EQ(buffer.str(), format->name);
        EXPECT_EQ(qmio_get_format_info(format, nullptr, "name"), format->name);
    }
}

TEST(FormatProp, VideoCodecIsTheFirstRegisteredOfTheDefaultId) {
    int with_codec = 0;
    const std::vector<const AVCodec*> codecs = codecs_of_ffmpeg();
    for (const AVOutputFormat* format : formats_of_ffmpeg()) {
        const auto first = std::find_if(codecs.begin(), codecs.end(), [format](const AVCodec* codec) {
            return codec->type == AVMEDIA_TYPE_VIDEO && codec->id == format->video_codec;
        });
        const bool there = format->video_codec != AV_CODEC_ID_NONE && first != codecs.end();
        EXPECT_EQ(qmio_get_format_prop(format, "vcodec"), there ? *first : nullptr) << format->name;
        with_codec += there;
    }
    EXPECT_GT(with_codec, 30);
}

TEST(FormatProp, KeyIsReadInAnyCaseAndOthersGiveNull) {
    const AVOutputFormat* mp4 = av_guess_format("mp4", nullptr, nullptr);
    EXPECT_NE(qmio_get_format_prop(mp4, "VCodec"), nullptr);
    EXPECT_EQ(qmio_get_format_prop(mp4, "acodec"), nullptr);
    EXPECT_EQ(qmio_get_format_prop(mp4, nullptr), nullptr);
    EXPECT_EQ(qmio_get_format_prop(av_guess_format("wav", nullptr, nullptr), "vcodec"), nullptr);
}

}  // namespace
}  // namespace qmio::test
