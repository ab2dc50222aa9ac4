// qmio audio and wave.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "support/open_media.h"
#include "tools/command_line.h"
#include "tools/png_file.h"

namespace qmio::test {
namespace {

using testing::HasSubstr;

// The chunk of a WAV file that holds its samples.
Bytes wav_data(const std::filesystem::path& path) {
    const Bytes file = read_bytes(path);
    for (std::size_t place = 12; place + 8 <= file.size();) {
        uint32_t size = 0;
        std::memcpy(&size, file.data() + place + 4, sizeof size);
        if (std::memcmp(file.data() + place, "data", 4) == 0)
            return {file.begin() + static_cast<std::ptrdiff_t>(place) + 8,
                    file.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(place + 8 + size, file.size()))};
        place += 8 + size + size % 2;
    }
    return {};
}

TEST(AudioVerb, WritesTheSamplesOfTheFile) {
    const TempDir folder;
    const auto file = folder / "out.wav";
    const Outcome outcome = run_qmio({"audio", made("tone.wav"), "--channels", "1", "--out", utf8(file)});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.error_text;
    const Bytes expected = wav_data(media_path("tone.wav"));
    EXPECT_EQ(expected.size(), 2U * 96000);
    EXPECT_EQ(wav_data(file), expected);
}

TEST(AudioVerb, WritesAPartToTheSample) {
    const TempDir folder;
    const auto file = folder / "part.wav";
    const Outcome outcome = run_qmio(
        {"audio", made("tone.wav"), "--channels", "1", "--start", "0.5", "--end", "1.25", "--out", utf8(file)});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.error_text;
    const Bytes whole = wav_data(media_path("tone.wav"));
    EXPECT_EQ(wav_data(file), Bytes(whole.begin() + 24000 * 2, whole.begin() + 60000 * 2));
}

TEST(AudioVerb, FormIsTheUsersChoice) {
    const TempDir folder;
    const auto file = folder / "out.wav";
    ASSERT_EQ(run_qmio({"audio", made("tone.wav"), "--rate", "24000", "--channels", "2", "--format", "flt", "--out",
                        utf8(file)})
                  .exit_code,
              0);
    const Media media = open_media(file);
    ASSERT_NE(media, nullptr);
    EXPECT_EQ(file_param(media, "sample_rate"), 24000);
    EXPECT_EQ(file_param(media, "channels"), 2);
    EXPECT_EQ(file_param(media, "sample_fmt"), 0) << "float";
    EXPECT_NEAR(static_cast<double>(wav_data(file).size()), 2.0 * 24000 * 2 * 4, 24000 * 8 * 0.01);
}

// One packet of thirty seconds: uncompressed sound comes in frames as long as its packets.
TEST(AudioVerb, TakesPacketsOfAnyLength) {
    const TempDir folder;
    const auto file = folder / "long.mkv";
    const std::vector<int16_t> samples(std::size_t{30} * 48000, 1000);
    {
        const Media media(
            qmio_create_w(wide_name(file).c_str(), L"fmt=matroska,acodec=pcm_s16le,ac=1,ar=48000,afmt=s16"));
        ASSERT_NE(media, nullptr);
        EXPECT_GT(qmio_write_audio(media.get(), reinterpret_cast<const uint8_t*>(samples.data()),
                                   static_cast<int>(2 * samples.size())),
                  0);
    }
    ASSERT_EQ(run_qmio({"audio", utf8(file), "--channels", "1", "--out", utf8(folder / "out.wav")}).exit_code, 0);
    EXPECT_EQ(wav_data(folder / "out.wav").size(), 2 * samples.size());
    EXPECT_EQ(run_qmio({"wave", utf8(file), "--out", utf8(folder / "out.png")}).exit_code, 0);
}

TEST(AudioVerb, MoreChannelsThanTheFileHasComeOutOfTheMixer) {
    const TempDir folder;
    ASSERT_EQ(run_qmio({"audio", made("tone.wav"), "--channels", "6", "--out", utf8(folder / "out.wav")}).exit_code, 0);
    const Bytes data = wav_data(folder / "out.wav");
    ASSERT_EQ(data.size(), 6U * 2 * 96000);
    int loudest_bass = 0;
    for (std::size_t frame = 0; frame < 96000; ++frame) {
        int16_t bass = 0;
        std::memcpy(&bass, &data[12 * frame + 6], sizeof bass);
        loudest_bass = std::max<int>(loudest_bass, std::abs(bass));
    }
    EXPECT_EQ(loudest_bass, 0) << "a mono file has nothing for the fourth of six channels";
}

TEST(AudioVerb, ATrackThatIsNotThereIsNamed) {
    const TempDir folder;
    const Outcome outcome = run_qmio({"audio", made("tone.wav"), "--track", "3", "--out", utf8(folder / "out.wav")});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_THAT(outcome.error_text, HasSubstr("has no track 3"));
    EXPECT_FALSE(std::filesystem::exists(folder / "out.wav"));
}

bool is_wave(const uint8_t* pixel) {
    return pixel[2] > 200 && pixel[0] < 150;
}

TEST(WaveVerb, ShowsEveryTrackAtItsLoudness) {
    const TempDir folder;
    const auto file = folder / "wave.png";
    ASSERT_EQ(run_qmio({"wave", made("two_audio_tracks.mp4"), "--out", utf8(file), "--width", "400"}).exit_code, 0);
    const PngFile picture = read_png(file);
    ASSERT_EQ(picture.width, 400);
    int bands = 0;
    bool inside = false;
    for (int y = 0; y < picture.height; ++y) {
        const bool wave = is_wave(picture.pixel(200, y));
        bands += wave && !inside;
        inside = wave;
    }
    EXPECT_EQ(bands, 2) << "one per track";
}

TEST(WaveVerb, AFileWithoutSoundIsNamed) {
    const TempDir folder;
    const Outcome outcome = run_qmio({"wave", made("plain.mp4"), "--out", utf8(folder / "wave.png")});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_THAT(outcome.error_text, HasSubstr("has no sound"));
}

}  // namespace
}  // namespace qmio::test
