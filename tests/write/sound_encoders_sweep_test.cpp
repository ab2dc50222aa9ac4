// Every sound encoder of FFmpeg, in every form that it takes, written in calls of several lengths: the packets of the
// file are those that FFmpeg's plain calls make of the same sound, and what is lossless decodes to it. A sample in every
// run, drawn by a seed that is printed (QMIO_TEST_SEED sets it); all of them with QMIO_SWEEP=all, those of one encoder
// with its name. Left out: rates that an encoder takes beyond the usual ones, which change no more than lengths; forms
// that its open refuses by FFmpeg's plain calls, too; DFPWM in lengths that are no multiple of 8, whose last byte it
// makes from memory that nobody set; decoding where the decoder gives another sample format than the encoder takes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <set>

#include "support/made_pictures.h"
#include "support/plain_encoder.h"
#include "support/release_names.h"
#include "support/seed.h"
#include "support/sound_through_ring.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr unsigned kSeed = 20261122;
constexpr int kSampleSize = sample_size(60);
constexpr int kCallLengths[] = {1, 1601, 1920, 48000};
constexpr int kUsualRates[] = {8000, 32000, 44100, 48000, 96000};
constexpr int kUsualCounts[] = {1, 2, 3, 6, 8};
constexpr std::size_t kLargestFrame = 192000;
constexpr std::size_t kMostFramesKept = 20;

std::vector<const AVCodec*> sound_encoders() {
    std::vector<const AVCodec*> all;
    void* position = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&position))
        if (av_codec_is_encoder(codec) != 0 && codec->type == AVMEDIA_TYPE_AUDIO)
            all.push_back(codec);
    return all;
}

std::vector<int> rates_of(const AVCodec& encoder) {
    std::vector<int> rates;
    for (const int rate : kUsualRates) {
        const int* one = sample_rates_of(encoder);
        while (one != nullptr && *one != 0 && *one != rate)
            ++one;
        if (one == nullptr || *one == rate)
            rates.push_back(rate);
    }
    if (rates.empty())
        rates.push_back(*sample_rates_of(encoder));
    return rates;
}

std::set<int> counts_of(const AVCodec& encoder) {
    std::set<int> counts;
    for (const AVChannelLayout* one = layouts_of(encoder); one != nullptr && one->nb_channels > 0; ++one)
        counts.insert(one->nb_channels);
    return counts.empty() ? std::set<int>(std::begin(kUsualCounts), std::end(kUsualCounts)) : counts;
}

std::vector<AVSampleFormat> formats_of(const AVCodec& encoder) {
    std::vector<AVSampleFormat> formats;
    for (const AVSampleFormat* one = sample_formats_of(encoder); one != nullptr && *one != AV_SAMPLE_FMT_NONE; ++one)
        formats.push_back(*one);
    return formats.empty() ? std::vector{AV_SAMPLE_FMT_S16} : formats;
}

std::vector<SoundEncoding> encodings_of(const AVCodec& encoder) {
    std::vector<SoundEncoding> all;
    for (const AVSampleFormat format : formats_of(encoder))
        for (const int rate : rates_of(encoder))
            for (const int channels : counts_of(encoder)) {
                SoundEncoding encoding{encoder.name, {channels, rate, format}};
                encoding.experimental = true;
                all.push_back(encoding);
            }
    return all;
}

std::string options_of(const SoundEncoding& encoding) {
    return ",acodec=" + encoding.encoder + ",ar=" + std::to_string(encoding.form.rate) +
           ",ac=" + std::to_string(encoding.form.channels) + ",afmt=" + std::to_string(code_of(encoding.form.format)) +
           ",strict:a=-2";
}

std::vector<Bytes> calls_of(const SoundEncoding& encoding, int frame, int length) {
    const SoundMaker maker(encoding.form);
    const int total = length == 1 ? frame + 7 : 2 * frame + 10000 + length;
    std::vector<Bytes> calls;
    for (int at = 0; at < total; at += length)
        calls.push_back(maker.samples(at, length));
    return calls;
}

Bytes joined_packets(const std::vector<Bytes>& packets) {
    Bytes all;
    for (const Bytes& packet : packets)
        all.insert(all.end(), packet.begin(), packet.end());
    return all;
}

Bytes packed_sound(const PlainTrack& track) {
    Bytes all;
    for (const Frame& frame : track.frames) {
        const Bytes samples = interleaved(block_of(*frame));
        all.insert(all.end(), samples.begin(), samples.end());
    }
    return all;
}

class SoundEncoders : public testing::Test {
  protected:
    SoundEncoders() {
        av_log_set_callback([](void*, int, const char*, va_list) {});
    }

    void sweep_one(const SoundEncoding& encoding, int length) {
        const std::optional<int> frame = frame_of(encoding);
        if (!frame || is_left_out(encoding, length))
            return;
        ++tried_;
        SCOPED_TRACE("fmt=data" + options_of(encoding) + ", frames of " + std::to_string(*frame) + ", calls of " +
                     std::to_string(length));
        const std::vector<Bytes> calls = calls_of(encoding, *frame, length);
        const auto block = static_cast<std::size_t>(SoundMaker(encoding.form).block());
        if (static_cast<std::size_t>(*frame) * block > kLargestFrame)
            return expect_refusal("fmt=data" + options_of(encoding), calls.front());
        const std::vector<Bytes> frames = *frame > 0 ? frames_through_ring(encoding.form, *frame, calls) : calls;
        write("fmt=data" + options_of(encoding), calls);
        EXPECT_TRUE(read_bytes(path()) == joined_packets(encode_plainly(encoding, frames)));
        if (is_lossless(encoding) && is_kept_whole(*frame, length))
            expect_lossless(encoding, calls, frames);
    }

    void tell() const { std::cout << tried_ << " forms, " << decoded_ << " of them decoded" << std::endl; }

    std::filesystem::path path() const { return folder_ / "made"; }

  private:
    bool write(const std::string& options, const std::vector<Bytes>& calls) const {
        const Writer writer(path(), options);
        EXPECT_TRUE(writer.is_open());
        for (const Bytes& call : calls)
            writer.write_sound(0, call);
        return writer.is_open();
    }

    void expect_refusal(const std::string& options, const Bytes& call) const {
        const Writer writer(path(), options);
        EXPECT_TRUE(writer.is_open());
        EXPECT_EQ(writer.write_sound(0, call), QMIO_TRACK_NO_RING);
    }

    static bool is_left_out(const SoundEncoding& encoding, int length) {
        return encoding.encoder == "dfpwm" && length % 8 != 0;
    }

    // Less than a frame waits in the ring when a call begins.
    static bool is_kept_whole(int frame, int length) {
        constexpr int kUsualRing = 48000;
        return frame == 0 || frame > kUsualRing / 2 || frame - 1 + length <= kUsualRing;
    }

    static bool is_lossless(const SoundEncoding& encoding) {
        const AVCodecID id = avcodec_find_encoder_by_name(encoding.encoder.c_str())->id;
        const AVCodecDescriptor* const descriptor = avcodec_descriptor_get(id);
        return descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_LOSSY) == 0;
    }

    static bool has_format_of(const AVFrame& frame, const SoundForm& form) {
        return av_get_packed_sample_fmt(static_cast<AVSampleFormat>(frame.format)) ==
               av_get_packed_sample_fmt(form.format);
    }

    // Encoder and decoder may keep what they were given last.
    void expect_beginning(const Bytes& expected, const Bytes& sound, std::size_t frame) {
        ++decoded_;
        ASSERT_LE(sound.size(), expected.size());
        EXPECT_GE(sound.size() + kMostFramesKept * frame, expected.size());
        EXPECT_TRUE(std::equal(sound.begin(), sound.end(), expected.begin()));
    }

    // In the first container that takes it.
    void expect_lossless(const SoundEncoding& encoding, const std::vector<Bytes>& calls,
                         const std::vector<Bytes>& frames) {
        for (const char* container : {"matroska", "nut", "mov", "caf", "mpegts"}) {
            if (!Writer(path(), "fmt=" + std::string(container) + options_of(encoding)).is_open())
                continue;
            write("fmt=" + std::string(container) + options_of(encoding), calls);
            const std::vector<PlainTrack> tracks = decode_plainly(path());
            if (!tracks.empty() && !tracks[0].frames.empty() && has_format_of(*tracks[0].frames[0], encoding.form))
                expect_beginning(packed(encoding.form, frames), packed_sound(tracks[0]), frames.back().size());
            return;
        }
    }

    TempDir folder_;
    int tried_ = 0;
    int decoded_ = 0;
};

// A count alone stands for the encoder's own speakers where it does not take the usual ones.
TEST_F(SoundEncoders, TakeEveryChannelCountThatTheyHaveALayoutOf) {
    int taken = 0;
    for (const AVCodec* encoder : sound_encoders())
        for (const int channels : counts_of(*encoder)) {
            SoundEncoding encoding{encoder->name, {channels, rates_of(*encoder).back(), formats_of(*encoder).front()}};
            encoding.experimental = true;
            if (!frame_of(encoding))
                continue;
            ++taken;
            const Writer writer(path(), "fmt=null" + options_of(encoding));
            EXPECT_TRUE(writer.is_open()) << options_of(encoding);
            EXPECT_EQ(qmio_get_stream_param(writer.handle(), "channels", 0), channels) << options_of(encoding);
        }
    std::cout << taken << " counts" << std::endl;
    EXPECT_GT(taken, 100);
}

TEST_F(SoundEncoders, GetASampleOfAllExactly) {
    Dice dice(printed_seed(kSeed));
    const auto all = sound_encoders();
    for (int number = 0; number < kSampleSize; ++number)
        sweep_one(dice.one_of(encodings_of(*dice.one_of(all))), dice.one_of(kCallLengths));
    tell();
}

TEST_F(SoundEncoders, GetEverythingExactly) {
    const char* const what = std::getenv("QMIO_SWEEP");
    if (what == nullptr)
        GTEST_SKIP() << "takes long: QMIO_SWEEP=all, or the name of an encoder";
    for (const AVCodec* encoder : sound_encoders())
        if (std::string("all") == what || std::string(encoder->name) == what)
            for (const SoundEncoding& encoding : encodings_of(*encoder))
                for (const int length : kCallLengths)
                    sweep_one(encoding, length);
    tell();
}

}  // namespace
}  // namespace qmio::test
