// Random ranges of sound, by position, of every file of the folder of real media, of the made files, and of every sound
// encoder of FFmpeg in every container that takes it: byte for byte what the ffmpeg program decodes of the whole. A sample
// of files and ranges in every run, drawn by a seed that is printed (QMIO_TEST_SEED sets it); with QMIO_SWEEP=all 1,000
// ranges of each file and of each encoder in one container, 40 in the others; those of one encoder with its name. Left
// out: files whose rate changes on the way, which the program resamples; encoders beyond the usual rates; bare streams of
// another codec; Codec 2, whose decoders draw noise from one source of the process; where there is no ffmpeg program
// (Windows), all of it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <iostream>

#include "support/media.h"
#include "support/muxer_films.h"
#include "support/probe.h"
#include "support/process.h"
#include "support/seed.h"
#include "support/temp_dir.h"
#include "support/whole_sound.h"

namespace qmio::test {
namespace {

constexpr unsigned kSeed = 20261124;
constexpr int kSampleSize = sample_size(4);
constexpr int kSomeRanges = 40;  // of a track
constexpr const char* kSource =
    "aevalsrc='0.4*sin(2*PI*(300+100*t)*t)+0.1*random(0)|0.3*sin(2*PI*500*t)*lt(mod(t,1),0.7)':d=3:s=44100";

std::vector<const AVCodec*> sound_encoders() {
    std::vector<const AVCodec*> all;
    void* position = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&position))
        if (av_codec_is_encoder(codec) != 0 && codec->type == AVMEDIA_TYPE_AUDIO)
            all.push_back(codec);
    return all;
}

// Not a bare stream of another codec, and not what is for other things than sound.
bool may_take(const AVOutputFormat& muxer, const AVCodec& encoder) {
    if ((muxer.flags & AVFMT_NOFILE) != 0 || muxer.audio_codec == AV_CODEC_ID_NONE || encoder.id == AV_CODEC_ID_CODEC2)
        return false;
    const bool is_bare = (muxer.flags & AVFMT_NOTIMESTAMPS) != 0 && muxer.codec_tag == nullptr;
    return is_bare ? muxer.audio_codec == encoder.id
                   : avformat_query_codec(&muxer, encoder.id, FF_COMPLIANCE_EXPERIMENTAL) != 0;
}

class SoundByPosition : public testing::Test {
  protected:
    SoundByPosition() : dice_(printed_seed(kSeed)) { av_log_set_level(AV_LOG_QUIET); }

    void SetUp() override {
        if (!Probe::is_there())
            GTEST_SKIP() << "there is no ffmpeg program";
    }

    void compare(const std::filesystem::path& path, int ranges) {
        const Media media = open_on_one_thread(path);
        const int tracks = media != nullptr ? static_cast<int>(file_param(media, "naudio")) : 0;
        for (int track = 0; track < tracks; ++track) {
            const int block = choose_packed_form(media.get(), track);
            if (block == 0)
                continue;
            const auto code = static_cast<int>(qmio_get_stream_param(media.get(), "user_sample_fmt", track));
            const Bytes whole = whole_sound(path, track, code);
            ++compared_;
            EXPECT_EQ(difference_in_ranges(media.get(), track, whole, block, ranges, dice_), "")
                << path << " track " << track;
        }
    }

    // Encodes three seconds; false where the container does not take them or nothing reads them.
    bool make(const AVCodec& encoder, const AVOutputFormat& muxer) const {
        if (!may_take(muxer, encoder))
            return false;
        std::filesystem::remove(path());
        return run("ffmpeg", {"-v", "quiet", "-nostdin", "-y", "-f", "lavfi", "-i", kSource, "-c:a", encoder.name,
                              "-strict", "-2", "-f", name_of(muxer), utf8(path())})
                   .exit_code == 0;
    }

    void sweep_one(const AVCodec& encoder, const AVOutputFormat& muxer) {
        if (!make(encoder, muxer))
            return;
        SCOPED_TRACE(std::string(encoder.name) + " in " + muxer.name);
        compare(path(), compared_with_ == &encoder ? kSomeRanges : ranges());
        compared_with_ = &encoder;
    }

    int ranges() const { return runs_whole_sweep() ? 1000 : kSomeRanges; }
    std::filesystem::path path() const { return folder_ / "made"; }
    void tell() const { std::cout << compared_ << " tracks" << std::endl; }

    TempDir folder_;
    Dice dice_;
    int compared_ = 0;
    const AVCodec* compared_with_ =
        nullptr;  // the encoder of the last: in the first container many ranges, in others some
};

TEST_F(SoundByPosition, OfRealMediaIsWhatTheWholeDecodesTo) {
    if (real_files().empty())
        GTEST_SKIP() << "no folder of real media";
    for (const RealFile& file : real_files())
        if (runs_whole_sweep() || dice_.up_to(2) == 1)
            compare(real_media(file.name), ranges());
    tell();
}

TEST_F(SoundByPosition, OfTheUsualCodecsIsWhatTheWholeDecodesTo) {
    constexpr const char* kUsual[][2] = {
        {"aac", "mp4"},       {"aac", "adts"},      {"aac", "mpegts"},    {"libmp3lame", "mp3"}, {"libmp3lame", "avi"},
        {"libopus", "webm"},  {"libopus", "ogg"},   {"libvorbis", "ogg"}, {"ac3", "mp4"},        {"flac", "flac"},
        {"flac", "matroska"}, {"pcm_s24le", "wav"}, {"alac", "mov"},      {"adpcm_ms", "wav"},   {"g722", "wav"},
        {"wmav2", "asf"},     {"mp2", "mpeg"}};
    for (const auto& [encoder, muxer] : kUsual) {
        const AVCodec* const codec = avcodec_find_encoder_by_name(encoder);
        const AVOutputFormat* const format = av_guess_format(muxer, nullptr, nullptr);
        if (codec != nullptr && format != nullptr)
            sweep_one(*codec, *format);
    }
    tell();
    EXPECT_GT(compared_, 8);
}

TEST_F(SoundByPosition, OfASampleOfEncodersAndContainersIsWhatTheWholeDecodesTo) {
    const auto encoders = sound_encoders();
    const auto muxers = file_muxers();
    for (int tries = 0; tries < 20 * kSampleSize && compared_ < kSampleSize; ++tries)
        sweep_one(*dice_.one_of(encoders), *dice_.one_of(muxers));
    tell();
}

TEST_F(SoundByPosition, OfEveryEncoderInEveryContainerIsWhatTheWholeDecodesTo) {
    const char* const what = std::getenv("QMIO_SWEEP");
    if (what == nullptr)
        GTEST_SKIP() << "takes long: QMIO_SWEEP=all, or the name of an encoder";
    for (const AVCodec* encoder : sound_encoders())
        if (runs_whole_sweep() || std::string(encoder->name) == what)
            for (const AVOutputFormat* muxer : file_muxers())
                sweep_one(*encoder, *muxer);
    tell();
}

// 16-bit samples at another rate are those of resampling the whole; they may differ by the last bit.
TEST_F(SoundByPosition, AtAnotherRateIsWhatTheWholeIsResampledTo) {
    const AVCodec* const flac = avcodec_find_encoder_by_name("flac");
    ASSERT_TRUE(make(*flac, *av_guess_format("flac", nullptr, nullptr)));
    for (const int rate : {48000, 8000, 96000, 22050, 44101}) {
        const Media media = open_on_one_thread(path());
        qmio_set_dst_audio(media.get(), 2, rate, 16);
        const Bytes whole = whole_sound(path(), 0, 16, rate);
        const auto total = static_cast<int64_t>(whole.size() / 4);
        int most = 0;
        for (int number = 0; number < ranges(); ++number) {
            const int64_t start = number == 0 ? total - 700 : dice_.number() % static_cast<uint32_t>(total);
            const HeardRange heard = hear(media.get(), 0, start, dice_.up_to(6000));
            ASSERT_EQ(heard.result, std::min<int64_t>(total - start, heard.result)) << start;
            for (std::size_t at = 0; at < heard.bytes.size(); at += 2) {
                int16_t one = 0, other = 0;
                std::memcpy(&one, &heard.bytes[at], 2);
                std::memcpy(&other, &whole[static_cast<std::size_t>(start) * 4 + at], 2);
                most = std::max(most, std::abs(one - other));
            }
        }
        EXPECT_LE(most, 1) << rate;
        EXPECT_EQ(hear(media.get(), 0, total, 10).result, 0) << rate;
        EXPECT_EQ(hear(media.get(), 0, total - 5, 10).result, 5) << rate;
    }
}

}  // namespace
}  // namespace qmio::test
