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

Bytes tone_data(std::size_t first_frame, std::size_t end_frame) {
    const Bytes whole = wav_data(media_path("tone.wav"));
    return {whole.begin() + static_cast<std::ptrdiff_t>(2 * first_frame),
            whole.begin() + static_cast<std::ptrdiff_t>(2 * end_frame)};
}

TEST(AudioVerb, WritesThePartBetweenStartAndEnd) {
    const TempDir folder;
    const auto part = [&folder](const Arguments& more) {
        Arguments arguments{"audio", made("tone.wav"),         "--channels", "1", "--force",
                            "--out", utf8(folder / "part.wav")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome outcome = run_qmio(arguments);
        EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
        return wav_data(folder / "part.wav");
    };
    EXPECT_EQ(part({"--start", "0.5", "--end", "1.25"}), tone_data(24000, 60000));
    EXPECT_EQ(part({"--start", "0:01.5"}), tone_data(72000, 96000));
    EXPECT_EQ(part({"--end", "0:00:00.0001"}), tone_data(0, 5));
    EXPECT_EQ(part({"--start", "1", "--end", "100"}), tone_data(48000, 96000));
}

TEST(AudioVerb, TimesThatMakeNoPartAreNamed) {
    const TempDir folder;
    const std::string out = utf8(folder / "out.wav");
    const auto outcome = [&out](const Arguments& more) {
        Arguments arguments{"audio", made("tone.wav"), "--out", out};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run_qmio(arguments);
    };
    for (const char* time : {"soon", "-1", "1:", "1:60", "1:2:3:4", ":", "1.5:3", ""})
        EXPECT_EQ(outcome({"--start", time}).exit_code, 2) << time;
    EXPECT_THAT(outcome({"--start", "soon"}).error_text, HasSubstr("'soon' is no time (12.5, 1:05, 1:02:03.25)"));
    EXPECT_THAT(outcome({"--start", "1", "--end", "1"}).error_text, HasSubstr("the end lies at or before the start"));
    const Outcome behind = outcome({"--start", "3"});
    EXPECT_EQ(behind.exit_code, 1);
    EXPECT_THAT(behind.error_text, HasSubstr("ends before the start, at 0:00:02.000"));
    EXPECT_FALSE(std::filesystem::exists(folder / "out.wav"));
}

TEST(AudioVerb, WritesSamplesOf24Bits) {
    const TempDir folder;
    const auto file = folder / "out.wav";
    ASSERT_EQ(
        run_qmio({"audio", made("tone.wav"), "--channels", "1", "--format", "s24", "--out", utf8(file)}).exit_code, 0);
    Bytes expected;
    const Bytes tone = wav_data(media_path("tone.wav"));
    for (std::size_t place = 0; place < tone.size(); place += 2)
        expected.insert(expected.end(), {0, tone[place], tone[place + 1]});
    EXPECT_TRUE(wav_data(file) == expected);
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

// How many rows of each band a column of the waveform fills, from top to bottom.
std::vector<int> bands_at(const PngFile& picture, int x) {
    std::vector<int> bands;
    bool inside = false;
    for (int y = 0; y < picture.height; ++y) {
        const bool wave = is_wave(picture.pixel(x, y));
        if (wave && !inside)
            bands.push_back(0);
        if (wave)
            ++bands.back();
        inside = wave;
    }
    return bands;
}

// Half of full scale on the left; a quarter on the right, and silence from the middle on.
TEST(WaveVerb, ShowsEveryChannelByItself) {
    const TempDir folder;
    {
        const Media media(
            qmio_create_w(wide_name(folder / "two.wav").c_str(), L"fmt=wav,acodec=pcm_s16le,ac=2,ar=8000,afmt=s16"));
        std::vector<int16_t> samples;
        for (int frame = 0; frame < 16000; ++frame) {
            const int sign = frame % 2 == 0 ? 1 : -1;
            samples.push_back(static_cast<int16_t>(sign * 16384));
            samples.push_back(static_cast<int16_t>(frame < 8000 ? sign * 8192 : 0));
        }
        EXPECT_GE(qmio_write_audio(media.get(), reinterpret_cast<const uint8_t*>(samples.data()),
                                   static_cast<int>(2 * samples.size())),
                  0);
    }
    ASSERT_EQ(
        run_qmio({"wave", utf8(folder / "two.wav"), "--out", utf8(folder / "wave.png"), "--width", "400"}).exit_code,
        0);
    const PngFile picture = read_png(folder / "wave.png");
    EXPECT_EQ(bands_at(picture, 100), (std::vector{49, 25}));
    EXPECT_EQ(bands_at(picture, 300), (std::vector{49, 1}));
    EXPECT_TRUE(bands_at(picture, 2).empty()) << "the margin";
}

TEST(WaveVerb, ManyChannelsAreDrawnToo) {
    const TempDir folder;
    ASSERT_EQ(run_qmio({"make", utf8(folder / "many.wav"), "fmt=wav,acodec=pcm_s16le,ac=8,ar=8000", "--frames", "25"})
                  .exit_code,
              0);
    const Outcome outcome =
        run_qmio({"wave", utf8(folder / "many.wav"), "--out", utf8(folder / "wave.png"), "--width", "64"});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.error_text;
    EXPECT_EQ(bands_at(read_png(folder / "wave.png"), 30).size(), 8U);
}

TEST(WaveVerb, AFileWithoutSoundIsNamed) {
    const TempDir folder;
    const Outcome outcome = run_qmio({"wave", made("plain.mp4"), "--out", utf8(folder / "wave.png")});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_THAT(outcome.error_text, HasSubstr("has no sound"));
}

}  // namespace
}  // namespace qmio::test
