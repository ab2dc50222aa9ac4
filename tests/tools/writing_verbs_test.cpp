// qmio make and convert: files judged by reading them back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <set>

#include "support/open_media.h"
#include "tools/command_line.h"

namespace qmio::test {
namespace {

using testing::HasSubstr;

// Sound of a track as 16-bit samples, all channels together.
std::vector<int16_t> samples_of(const std::filesystem::path& file, int track) {
    const Media media = open_media(file);
    std::vector<int16_t> samples;
    if (media == nullptr)
        return samples;
    qmio_set_track(media.get(), track);
    const auto rate = static_cast<int>(qmio_get_stream_param(media.get(), "file_sample_rate", track));
    qmio_set_dst_audio(media.get(), qmio_track_chans(media.get(), track), rate, 16);
    std::vector<uint8_t> buffer(1 << 20);
    for (int kind = qmio_get_frame(media.get()); kind >= 0; kind = qmio_get_frame(media.get())) {
        int bytes = 0;
        while (kind == QMIO_PACKET_AUDIO && (bytes = qmio_audio_frame(media.get(), buffer.data())) > 0) {
            const std::size_t before = samples.size();
            samples.resize(before + static_cast<std::size_t>(bytes) / 2);
            std::memcpy(samples.data() + before, buffer.data(), static_cast<std::size_t>(bytes));
        }
        qmio_release_frame(media.get());
    }
    return samples;
}

int upward_crossings(const std::vector<int16_t>& samples, std::size_t step) {
    int crossings = 0;
    for (std::size_t place = step; place < samples.size(); place += step)
        crossings += samples[place - step] < 0 && samples[place] >= 0;
    return crossings;
}

std::set<uint64_t> distinct_pictures(const std::filesystem::path& file) {
    Player player(file);
    std::set<uint64_t> hashes;
    for (const Picture& picture : player.read_rest(1000))
        hashes.insert(picture.hash);
    return hashes;
}

TEST(MakeVerb, EveryPictureIsAnotherOne) {
    const TempDir folder;
    const auto file = folder / "made.mkv";
    const Outcome outcome = run_qmio({"make", utf8(file), "fmt=matroska,vcodec=ffv1,size=320x192", "--frames", "120"});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.error_text;
    EXPECT_EQ(distinct_pictures(file).size(), 120U);
    const Media media = open_media(file);
    EXPECT_EQ(file_param(media, "width"), 320);
    EXPECT_EQ(file_param(media, "height"), 192);
}

TEST(MakeVerb, EveryTrackHasATone) {
    const TempDir folder;
    const auto file = folder / "made.mov";
    const Outcome outcome = run_qmio(
        {"make", utf8(file), "fmt=mov,vcodec=mjpeg,r=25,acodec=pcm_s16le,acodec=pcm_s16le,ac=1", "--frames", "50"});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.error_text;
    const std::vector<int16_t> stereo = samples_of(file, 0);
    const std::vector<int16_t> mono = samples_of(file, 1);
    EXPECT_EQ(stereo.size(), 2U * 96000);
    EXPECT_EQ(mono.size(), 96000U);
    EXPECT_NEAR(upward_crossings(stereo, 2), 2 * 440, 2);
    EXPECT_NEAR(upward_crossings(mono, 1), 2 * 660, 2);
}

// One channel's loudest sample between two times.
int loudest(const std::vector<int16_t>& stereo, std::size_t channel, double from, double to) {
    int found = 0;
    for (auto frame = static_cast<std::size_t>(from * 48000); frame < static_cast<std::size_t>(to * 48000); ++frame)
        found = std::max(found, std::abs(int{stereo[2 * frame + channel]}));
    return found;
}

TEST(MakeVerb, ChannelsSoundDifferentAndChangeTheirLevel) {
    const TempDir folder;
    const auto file = folder / "made.wav";
    ASSERT_EQ(run_qmio({"make", utf8(file), "fmt=wav,acodec=pcm_s16le", "--frames", "50"}).exit_code, 0);
    const std::vector<int16_t> stereo = samples_of(file, 0);
    ASSERT_EQ(stereo.size(), 2U * 96000);
    for (int stair = 0; stair < 8; ++stair)
        EXPECT_NEAR(loudest(stereo, 0, stair * 0.25 + 0.02, stair * 0.25 + 0.23), 16384 >> stair % 4, 40) << stair;
    EXPECT_NEAR(loudest(stereo, 1, 0.95, 1.05), 0.6 * 32768, 400) << "the sweep swells";
    EXPECT_LT(loudest(stereo, 1, 0.0, 0.05), 1200);
    EXPECT_LT(loudest(stereo, 1, 1.95, 1.999), 1200);
}

TEST(MakeVerb, SoundAloneIsAFileToo) {
    const TempDir folder;
    const auto file = folder / "made.wav";
    ASSERT_EQ(run_qmio({"make", utf8(file), "fmt=wav,acodec=pcm_f32le,ac=6", "--frames", "25"}).exit_code, 0);
    EXPECT_EQ(samples_of(file, 0).size(), 6U * 48000);
}

TEST(MakeVerb, NamesWhatCannotBeMade) {
    const TempDir folder;
    const std::string file = utf8(folder / "made.mp4");
    const Outcome unknown = run_qmio({"make", file, "fmt=mp4,vcodec=nonsense"});
    EXPECT_EQ(unknown.exit_code, 1);
    EXPECT_THAT(unknown.error_text, HasSubstr("nonsense: is no encoder"));
    const Outcome nowhere = run_qmio({"make", utf8(folder / "missing/made.mp4"), "fmt=mp4,vcodec=mjpeg"});
    EXPECT_EQ(nowhere.exit_code, 1);
    EXPECT_THAT(nowhere.error_text, HasSubstr("No such file"));
    EXPECT_EQ(run_qmio({"make", utf8(folder / "made"), "vcodec=mjpeg"}).exit_code, 1) << "no container";
}

TEST(ConvertVerb, LosslessCodecsKeepEveryPictureAndSample) {
    const TempDir folder;
    const auto file = folder / "converted.mkv";
    const Outcome outcome = run_qmio(
        {"convert", made("two_audio_tracks.mp4"), utf8(file), "fmt=matroska,vcodec=ffv1,acodec=flac,acodec=flac"});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.error_text;
    Player source(media_path("two_audio_tracks.mp4"));
    Player converted(file);
    const std::vector<Picture> expected = source.read_rest(1000);
    const std::vector<Picture> pictures = converted.read_rest(1000);
    ASSERT_EQ(pictures.size(), expected.size());
    for (std::size_t number = 0; number < expected.size(); ++number)
        EXPECT_EQ(pictures[number].hash, expected[number].hash) << number;
    for (const int track : {0, 1}) {
        std::vector<int16_t> sound = samples_of(file, track);
        const std::vector<int16_t> wanted = samples_of(media_path("two_audio_tracks.mp4"), track);
        ASSERT_GE(sound.size(), wanted.size());  // the last frame is filled up with silence
        sound.resize(wanted.size());
        EXPECT_TRUE(sound == wanted) << track;
    }
}

TEST(ConvertVerb, SizeRateAndTracksAreTheUsersChoice) {
    const TempDir folder;
    const auto file = folder / "converted.avi";
    const Outcome outcome = run_qmio({"convert", made("two_audio_tracks.mp4"), utf8(file),
                                      "vcodec=mjpeg,size=160x96,r=50,acodec=pcm_s16le,ar=48000,ac=2", "--track", "0"});
    ASSERT_EQ(outcome.exit_code, 0) << outcome.error_text;
    const Media media = open_media(file);
    EXPECT_EQ(file_param(media, "width"), 160);
    EXPECT_EQ(file_param(media, "height"), 96);
    EXPECT_EQ(file_param(media, "naudio"), 1);
    EXPECT_EQ(file_param(media, "sample_rate"), 48000);
    EXPECT_EQ(file_param(media, "channels"), 2);
    qmio_time_param times{};
    ASSERT_EQ(qmio_get_time_param(media.get(), "video", &times), 1);
    EXPECT_EQ(times.frame_rate_num, 50 * times.frame_rate_den);
}

TEST(MakeVerb, LeavesNoFileBehindWhenItFails) {
    const TempDir folder;
    for (const char* options : {"fmt=mp4,vcodec=libx264,size=0x0", "fmt=nosuch,vcodec=mjpeg", "fmt=wav,vcodec=mjpeg"}) {
        EXPECT_EQ(run_qmio({"make", utf8(folder / "made.mp4"), options}).exit_code, 1) << options;
        EXPECT_FALSE(std::filesystem::exists(folder / "made.mp4")) << options;
    }
}

TEST(MakeVerb, OptionsMayBeWrittenInEveryWayThatTheLibraryReads) {
    const TempDir folder;
    const auto file = folder / "made.avi";
    ASSERT_EQ(run_qmio({"make", utf8(file), "# a comment\nfmt=avi vcodec=\"mjpeg\"\nwidth = 320,acodec=pcm_s16le\tac=1",
                        "--frames", "5"})
                  .exit_code,
              0);
    const Media media = open_media(file);
    EXPECT_EQ(file_param(media, "width"), 320);
    EXPECT_EQ(file_param(media, "height"), 180);
    EXPECT_EQ(file_param(media, "channels"), 1);
}

TEST(ConvertVerb, NoFileIsWrittenOverItself) {
    const TempDir folder;
    const auto file = folder / "same.mp4";
    std::filesystem::copy_file(media_path("two_audio_tracks.mp4"), file);
    const Bytes before = read_bytes(file);
    const std::string name = utf8(file);
    EXPECT_EQ(run_qmio({"convert", name, name, "fmt=mp4,vcodec=mjpeg"}).exit_code, 1);
    EXPECT_EQ(run_qmio({"audio", name, "--out", name}).exit_code, 1);
    EXPECT_EQ(run_qmio({"wave", name, "--out", name}).exit_code, 1);
    EXPECT_EQ(run_qmio({"sheet", name, "--out", name}).exit_code, 1);
    EXPECT_TRUE(read_bytes(file) == before);
}

TEST(ConvertVerb, AFileThatIsNotThereIsNamed) {
    const TempDir folder;
    const Outcome outcome = run_qmio({"convert", "no_such_file.mp4", utf8(folder / "x.mp4"), "fmt=mp4,vcodec=mjpeg"});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_THAT(outcome.error_text, HasSubstr("no_such_file.mp4: No such file"));
}

TEST(ExampleHosts, WriteFramesMakesAFileOfTwoSeconds) {
    const TempDir folder;
    const auto file = folder / "example.avi";
    const Outcome outcome = run(host_program("write_frames"), {utf8(file)});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_THAT(outcome.output, HasSubstr("50 frames, 0 failures"));
    EXPECT_EQ(distinct_pictures(file).size(), 50U);
    EXPECT_EQ(samples_of(file, 0).size(), 96000U);
    EXPECT_EQ(run(host_program("write_frames")).exit_code, 1);
}

}  // namespace
}  // namespace qmio::test
