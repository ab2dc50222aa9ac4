// Every encoder of FFmpeg with every kind of bad value that options can give it: whatever it says to that, the process
// lives and the call returns. A sample in every run, drawn by a seed that is printed (QMIO_TEST_SEED sets it); all of
// them with QMIO_SWEEP=all (some minutes), those of one encoder with its name. Nothing is left out: encoders that need
// a device find none, and say so before anything else.
extern "C" {
#include <libavutil/pixdesc.h>
}

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "support/case_process.h"
#include "support/plain_file.h"
#include "support/release_names.h"
#include "support/seed.h"

namespace qmio::test {
namespace {

constexpr unsigned kSeed = 20261122;
constexpr int kSampleSize = sample_size(400);

using Texts = std::vector<std::string>;

const Texts kSizes = {"",
                      ",size=0x0",
                      ",size=64",
                      ",size=-1x-1",
                      ",size=64x-48",
                      ",size=1x1",
                      ",size=4x1",
                      ",size=1x33",
                      ",size=2x2",
                      ",size=5x3",
                      ",size=1Gx1",
                      ",size=2147483647x2147483647",
                      ",size=64x48",
                      ",size=352x288"};
const Texts kPixels = {"", ",pix=bgr42", ",pix=BGR24", ",pix=monow", ",pix=pal8", ",pix=vaapi"};
const Texts kPictureRates = {",r=0/2", ",r=-25", ",r=25/-1", ",r=2147483647", ",r=1/65535", ",r=1/2147483647", ""};
const Texts kChannels = {"", ",ac=0", ",ac=-1", ",ac=1", ",ac=3", ",ac=65", ",ac=1000", ",ac=2147483647", ",ac=2"};
const Texts kRates = {"", ",ar=0", ",ar=-1", ",ar=1", ",ar=2147483647", ",ar=48000"};
const Texts kFormats = {"", ",afmt=7", ",afmt=nonesuch", ",afmt=s64p", ",afmt=u8"};

std::vector<const AVCodec*> encoders() {
    std::vector<const AVCodec*> all;
    void* position = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&position))
        if (av_codec_is_encoder(codec) != 0 && codec->type != AVMEDIA_TYPE_SUBTITLE)
            all.push_back(codec);
    return all;
}

Texts with(Texts bad, const char* key, const char* good) {
    if (good != nullptr)
        bad.push_back(std::string(key) + good);
    return bad;
}

Texts pixels_of(const AVCodec& encoder) {
    const AVPixelFormat* own = pixel_formats_of(encoder);
    return with(kPixels, ",pix=", own != nullptr ? av_get_pix_fmt_name(own[0]) : "yuv420p");
}

Texts formats_of(const AVCodec& encoder) {
    const AVSampleFormat* own = sample_formats_of(encoder);
    return with(kFormats, ",afmt=", own != nullptr ? av_get_sample_fmt_name(own[0]) : "s16");
}

// What options ask of an encoder, and for each of three parameters its values, one that is good as the last.
struct Forms {
    std::string begin;
    Texts values[3];
};

Forms forms_of(const AVCodec& encoder) {
    const std::string name = encoder.name;
    if (encoder.type == AVMEDIA_TYPE_VIDEO)
        return {"vcodec=" + name + ",strict:v=-2", {pixels_of(encoder), kSizes, kPictureRates}};
    return {"acodec=" + name + ",strict:a=-2", {formats_of(encoder), kChannels, kRates}};
}

Texts all_of(const Forms& forms) {
    Texts all{forms.begin};
    for (const Texts& values : forms.values) {
        Texts longer;
        for (const std::string& begun : all)
            for (const std::string& value : values)
                longer.push_back(begun + value);
        all = longer;
    }
    return all;
}

// Each value is the good one half of the time: with two bad ones the second is seldom looked at.
std::string one_of(const Forms& forms, Dice& dice) {
    std::string drawn = forms.begin;
    for (const Texts& values : forms.values)
        drawn += dice.up_to(2) == 1 ? values.back() : dice.one_of(values);
    return drawn;
}

class BadForms : public testing::Test {
  protected:
    std::string made_with(const std::string& options) { return host_.answer("0\tunused\tpps\tfmt=null," + options); }
    void sweep_one(const std::string& options) {
        ++tried_;
        const std::string answer = made_with(options);
        made_ += answer == "made" ? 1 : 0;
        EXPECT_TRUE(has_answered(answer)) << options << "\n" << answer;
    }
    void tell() const { std::cout << tried_ << " forms, " << made_ << " of them files" << std::endl; }

    CaseProcess host_{"creating_host"};

  private:
    int tried_ = 0;
    int made_ = 0;
};

// Pictures too small for the packets that their encoders make for them.
TEST_F(BadForms, OfPicturesTooSmallForTheirPacketsAreRefused) {
    for (const char* size : {"1x1", "4x1", "1x33", "2x2", "200x1"})
        EXPECT_EQ(made_with("vcodec=rpza,pix=rgb555,size=" + std::string(size)), "null") << size;
    for (const char* size : {"3x3", "5x4", "64x48"})
        EXPECT_EQ(made_with("vcodec=rpza,pix=rgb555,size=" + std::string(size)), "made") << size;
    EXPECT_EQ(made_with("vcodec=flashsv,pix=bgr24,size=1x1"), "null");
    EXPECT_EQ(made_with("vcodec=flashsv,pix=bgr24,size=2x1"), "made");
}

// The ones that FFmpeg's encoders neither check nor survive.
TEST_F(BadForms, ThatAreDeadlyToEncodersAreRefused) {
    for (const char* pixels : {"", ",pix=bgr42", ",pix=BGR24"})
        EXPECT_EQ(made_with("vcodec=rawvideo,size=64x48" + std::string(pixels)), "null") << pixels;
    for (const char* channels : {"", ",ac=0", ",ac=-1"})
        EXPECT_EQ(made_with("acodec=wavpack,ar=48000,afmt=s16p" + std::string(channels)), "null") << channels;
    EXPECT_EQ(made_with("acodec=wavpack,ar=2147483647,ac=2,afmt=s16p"), "null");
    EXPECT_EQ(made_with("vcodec=rawvideo,size=64x48,pix=bgr24"), "made");
    EXPECT_EQ(made_with("acodec=wavpack,ar=48000,ac=2,afmt=s16p"), "made");
}

TEST_F(BadForms, OfAPictureRateThatIsRoundedToNoneAreRefused) {
    const std::string film = "vcodec=libxvid,pix=yuv420p,size=64x48";
    if (made_with(film) != "made")
        GTEST_SKIP() << "this FFmpeg has no Xvid";
    EXPECT_EQ(made_with(film + ",r=1/65001"), "null");
    EXPECT_EQ(made_with(film + ",r=1/2147483647"), "null");
    EXPECT_EQ(made_with(film + ",r=1/65000"), "made");
    EXPECT_EQ(made_with(film + ",r=1000/1999999"), "made");
}

TEST_F(BadForms, OfASampleOfAllAreSurvived) {
    Dice dice(printed_seed(kSeed));
    const auto all = encoders();
    for (int number = 0; number < kSampleSize; ++number)
        sweep_one(one_of(forms_of(*dice.one_of(all)), dice));
    tell();
}

TEST_F(BadForms, OfEveryKindAreSurvivedByEveryEncoder) {
    const char* const what = std::getenv("QMIO_SWEEP");
    if (what == nullptr)
        GTEST_SKIP() << "takes long: QMIO_SWEEP=all, or the name of an encoder";
    for (const AVCodec* encoder : encoders())
        if (std::string("all") == what || std::string(encoder->name) == what)
            for (const std::string& form : all_of(forms_of(*encoder)))
                sweep_one(form);
    tell();
}

}  // namespace
}  // namespace qmio::test
