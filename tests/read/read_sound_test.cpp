// qmio_read_sound as a host sees it: its results, the form that it delivers, and what it leaves as it was.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "support/host_bytes.h"
#include "support/made_file.h"
#include "support/media.h"
#include "support/sound_files.h"
#include "support/temp_dir.h"
#include "support/what_is_read.h"
#include "support/whole_sound.h"

namespace qmio::test {
namespace {

constexpr int kAll = 1000000;
constexpr const char* kFilm = "small_h264_aac.mp4";

// All of a track, read in order.
Bytes all_of(MediaHandle* media, int track, int samples = 5000) {
    Bytes all;
    for (int64_t at = 0;;) {
        const HeardRange heard = hear(media, track, at, samples);
        if (heard.result <= 0)
            return all;
        all.insert(all.end(), heard.bytes.begin(), heard.bytes.end());
        at += heard.result;
    }
}

TEST(ReadSound, GivesWhatUncompressedSoundIs) {
    const Media media = open_media(sound("stereo_s16.wav"));
    const Bytes whole = decoded(plain_track(sound("stereo_s16.wav")));
    EXPECT_EQ(hear(media.get(), 0, 0, kAll).bytes, whole);
    EXPECT_EQ(hear(media.get(), 0, 1234, 567).bytes, Bytes(whole.begin() + 1234 * 4, whole.begin() + (1234 + 567) * 4));
    EXPECT_EQ(all_of(media.get(), 0), whole);
}

TEST(ReadSound, IsTheSameInWhateverOrderItIsRead) {
    for (const char* name : {"mono.mp3", "stereo.aac", "mono.opus", "stereo.ac3", "stereo.wma", "stereo.ogg",
                             "g722.wav", "five_one_aac.mp4", "stereo_alac.m4a"}) {
        const Media in_order = open_media(sound(name));
        const int block = choose_packed_form(in_order.get(), 0);
        const Bytes whole = all_of(in_order.get(), 0);
        const Media media = open_media(sound(name));
        choose_packed_form(media.get(), 0);
        Dice dice(1);
        ASSERT_GT(whole.size(), 1000U) << name;
        EXPECT_EQ(difference_in_ranges(media.get(), 0, whole, block, 60, dice), "") << name;
    }
}

TEST(ReadSound, TellsTheBytesThatItNeeds) {
    const Media media = open_media(sound("stereo_s16.wav"));
    EXPECT_EQ(qmio_read_sound(media.get(), 0, 0, 100, nullptr, 0), 400);
    EXPECT_EQ(qmio_read_sound(media.get(), 0, 0, 0, nullptr, 0), 0);
    qmio_set_dst_audio(media.get(), 1, 8000, 64);
    EXPECT_EQ(qmio_read_sound(media.get(), 0, 0, 100, nullptr, 0), 800);
}

TEST(ReadSound, RefusesWhatMakesNoSense) {
    const Media media = open_media(sound("stereo_s16.wav"));
    Bytes buffer(400);
    const auto read = [&](int track, int64_t start, int samples, int size) {
        return qmio_read_sound(media.get(), track, start, samples, buffer.data(), size);
    };
    EXPECT_EQ(read(0, 0, 100, 400), 100);
    EXPECT_EQ(read(0, 0, 0, 0), 0);
    EXPECT_EQ(read(1, 0, 100, 400), QMIO_SOUND_NO_TRACK);
    EXPECT_EQ(read(-1, 0, 100, 400), QMIO_SOUND_NO_TRACK);
    EXPECT_EQ(read(16, 0, 100, 400), QMIO_SOUND_NO_TRACK);
    EXPECT_EQ(read(0, -1, 100, 400), QMIO_SOUND_BAD_RANGE);
    EXPECT_EQ(read(0, 0, -1, 400), QMIO_SOUND_BAD_RANGE);
    EXPECT_EQ(read(0, 0, INT_MAX, 400), QMIO_SOUND_BAD_RANGE);
    EXPECT_EQ(read(0, INT64_MAX, 1, 400), QMIO_SOUND_BAD_RANGE);
    EXPECT_EQ(read(0, 0, 101, 400), QMIO_SOUND_NO_ROOM);
    EXPECT_EQ(read(0, 0, 1, -1), QMIO_SOUND_BAD_RANGE);
    EXPECT_EQ(read(0, INT64_MAX / 4, 100, 400), 0);
    qmio_set_dst_audio(media.get(), 2, 48000, 17);
    EXPECT_EQ(read(0, 0, 100, 400), QMIO_SOUND_NO_FORM);
    qmio_set_dst_audio(media.get(), 63, 48000, 8);
    EXPECT_EQ(read(0, 0, 1, 400), QMIO_SOUND_NO_FORM);
    const Media silent = open_media(media_path("plain.mp4"));
    EXPECT_EQ(qmio_read_sound(silent.get(), 0, 0, 100, buffer.data(), 400), QMIO_SOUND_NO_TRACK);
}

TEST(ReadSound, RefusesAFileThatIsWritten) {
    const TempDir folder;
    const Media media = create_file(folder / "made.wav", "fmt=wav,acodec=pcm_s16le,ar=48000,ac=2,afmt=s16");
    Bytes buffer(400);
    EXPECT_EQ(qmio_read_sound(media.get(), 0, 0, 100, buffer.data(), 400), QMIO_SOUND_NO_TRACK);
}

TEST(ReadSound, DeliversTheFormThatWasChosen) {
    const std::filesystem::path path = sound("stereo_s16.wav");
    const PlainTrack track = plain_track(path);
    for (const SoundForm& form : {SoundForm{2, 48000, AV_SAMPLE_FMT_FLTP}, SoundForm{1, 48000, AV_SAMPLE_FMT_S16},
                                  SoundForm{6, 48000, AV_SAMPLE_FMT_S32P}, SoundForm{2, 48000, AV_SAMPLE_FMT_DBL}}) {
        const Media media = open_media(path);
        const SoundForm at_own_rate{form.channels, track.form.rate, form.format};
        qmio_set_dst_audio(media.get(), form.channels, track.form.rate, code_of(form.format));
        // One frame of the file, so that planes lie alike.
        const int samples = track.frames[0]->nb_samples;
        PlainResampler resampler(track.form, at_own_rate);
        EXPECT_EQ(hear(media.get(), 0, 0, samples).bytes, delivered(resampler.convert(*track.frames[0]), form.format));
    }
}

TEST(ReadSound, KeepsPlanesOfTheLengthOfTheResult) {
    const std::filesystem::path path = sound("three_s16.mov");
    const Media packed = open_media(path);
    const int rate = static_cast<int>(qmio_get_stream_param(packed.get(), "file_sample_rate", 0));
    const Bytes whole = all_of(packed.get(), 0);
    const auto total = static_cast<int64_t>(whole.size() / 6);
    const Media media = open_media(path);
    qmio_set_dst_audio(media.get(), 3, rate, -16);
    const HeardRange end = hear(media.get(), 0, total - 10, 50);
    ASSERT_EQ(end.result, 10);
    for (std::size_t channel = 0; channel < 3; ++channel)
        for (std::size_t at = 0; at < 10; ++at)
            EXPECT_EQ(0, std::memcmp(&end.bytes[(channel * 10 + at) * 2],
                                     &whole[whole.size() - 60 + at * 6 + channel * 2], 2));
}

TEST(ReadSound, TakesTheFormOfEachTrackByItself) {
    const Media media = open_media(sound("mixed_tracks.mkv"));
    const int own = qmio_read_sound(media.get(), 1, 0, 1, nullptr, 0);
    qmio_set_track(media.get(), 0);
    qmio_set_dst_audio(media.get(), 1, 8000, 8);
    EXPECT_EQ(qmio_read_sound(media.get(), 0, 0, 1, nullptr, 0), 1);
    EXPECT_EQ(qmio_read_sound(media.get(), 1, 0, 1, nullptr, 0), own);
}

TEST(ReadSound, FollowsAChangeOfFormOnTheWay) {
    const Media media = open_media(sound("stereo_s16.wav"));
    const Bytes before = hear(media.get(), 0, 1000, 2000).bytes;
    qmio_set_dst_audio(media.get(), 2, 11025, 16);
    const Bytes slow = hear(media.get(), 0, 500, 2000).bytes;
    qmio_set_dst_audio(media.get(), 2, static_cast<int>(file_param(media, "sample_rate")), 16);
    EXPECT_EQ(hear(media.get(), 0, 1000, 2000).bytes, before);
    const Media again = open_media(sound("stereo_s16.wav"));
    qmio_set_dst_audio(again.get(), 2, 11025, 16);
    EXPECT_EQ(hear(again.get(), 0, 500, 2000).bytes, slow);
}

// ---- what it leaves as it was ----

TEST(ReadSound, LeavesReadingAndSeekingWhereTheyStand) {
    const WhatIsRead expected = what_is_read(open_on_one_thread(media_path(kFilm)));
    const Media media = open_on_one_thread(media_path(kFilm));
    const Bytes whole = all_of(media.get(), 0);
    EXPECT_TRUE(what_is_read(media) == expected);
    EXPECT_EQ(all_of(media.get(), 0), whole);

    const Media mixed = open_on_one_thread(media_path(kFilm));
    const Media plain = open_on_one_thread(media_path(kFilm));
    for (int frame = 0; frame < 20; ++frame) {
        EXPECT_GT(hear(mixed.get(), 0, 37 * ((frame * 7) % 20), 800).result, 0);
        EXPECT_EQ(next_picture(mixed).pixels, next_picture(plain).pixels) << frame;
    }
}

TEST(ReadSound, ComesWhilePacketsAreReadInTheBackground) {
    const Media quiet = open_on_one_thread(media_path(kFilm));
    const Bytes whole = all_of(quiet.get(), 0);
    HostBytes host;
    host.bytes = read_bytes(media_path(kFilm));
    for (const Media& media : {open_on_one_thread(media_path(kFilm)), host.open("threads=1")}) {
        qmio_fifo_frame(media.get(), 0, -1, 0, -1, 1);
        EXPECT_EQ(all_of(media.get(), 0, 700), whole);
        int packets = 0;
        while (qmio_get_frame(media.get()) >= 0)
            ++packets;
        EXPECT_GT(packets, 10);
    }
}

TEST(ReadSound, OfSeveralTracksGoesOnWhereEachStands) {
    const std::filesystem::path path = media_path("two_audio_tracks.mp4");
    const Media media = open_media(path);
    const Bytes first = all_of(Media(open_media(path)).get(), 0), second = all_of(Media(open_media(path)).get(), 1);
    Bytes mixed_first, mixed_second;
    for (int64_t at = 0; at < 20000; at += 500) {
        const Bytes one = hear(media.get(), 0, at, 500).bytes, other = hear(media.get(), 1, at, 500).bytes;
        mixed_first.insert(mixed_first.end(), one.begin(), one.end());
        mixed_second.insert(mixed_second.end(), other.begin(), other.end());
    }
    EXPECT_TRUE(mixed_first.size() <= first.size() &&
                std::equal(mixed_first.begin(), mixed_first.end(), first.begin()));
    EXPECT_TRUE(mixed_second.size() <= second.size() &&
                std::equal(mixed_second.begin(), mixed_second.end(), second.begin()));
}

// ---- sources, and what they cost ----

TEST(ReadSound, OfTheHostsBytesIsThatOfTheFile) {
    HostBytes host;
    host.bytes = read_bytes(media_path(kFilm));
    const Bytes whole = all_of(open_media(media_path(kFilm)).get(), 0);
    EXPECT_EQ(all_of(host.open().get(), 0), whole);
    const Media block(qmio_open_mem(host.bytes.data(), static_cast<int64_t>(host.bytes.size()), nullptr));
    EXPECT_EQ(all_of(block.get(), 0), whole);
    HostBytes one_way;
    one_way.bytes = read_bytes(sound("stereo_s16.wav"));
    const Media media = one_way.open_without_seeking();
    EXPECT_EQ(hear(media.get(), 0, 0, 100).result, QMIO_SOUND_NO_SOURCE);
}

int64_t bytes_for(HostBytes& host, const std::function<void()>& reading) {
    const int before = host.reads;
    host.most_at_once = 1024;
    reading();
    return int64_t{host.reads - before} * 1024;
}

TEST(ReadSound, InOrderReadsTheSourceOnce) {
    for (const char* name : {"stereo.mp3", "stereo.ac3", "g722.wav"}) {
        HostBytes host;
        host.bytes = read_bytes(sound(name));
        const Media media = host.open();
        // Opening it a second time reads its beginning again.
        const auto size = static_cast<int64_t>(host.bytes.size());
        EXPECT_LT(bytes_for(host, [&] { all_of(media.get(), 0, 300); }), 2 * size + 200000) << name;
    }
}

TEST(ReadSound, GoesBackWithoutReadingAllBefore) {
    HostBytes host;
    host.bytes = read_bytes(sound("stereo_s16.wav"));
    while (host.bytes.size() < 20000000)
        host.bytes.insert(host.bytes.end(), host.bytes.end() - 48000, host.bytes.end());
    const Media media = host.open("ignore_length=1,fmt=wav");
    const auto total = static_cast<int64_t>(all_of(media.get(), 0, 48000).size()) / 4;
    ASSERT_GT(total, 4000000);
    hear(media.get(), 0, 100000, 100);
    EXPECT_LT(bytes_for(host, [&] { hear(media.get(), 0, total - 200000, 100); }), 1000000);
    EXPECT_LT(bytes_for(host, [&] { hear(media.get(), 0, total / 2, 100); }), 1000000);
}

TEST(ReadSound, EndsWithACancelAndLeavesNothingOpen) {
    const auto before = open_descriptors();
    {
        const Media media = open_media(media_path(kFilm));
        EXPECT_GT(hear(media.get(), 0, 0, 100).result, 0);
        qmio_cancel(media.get());
        EXPECT_EQ(hear(media.get(), 0, 5000, 100).result, QMIO_SOUND_NO_SOURCE);
        EXPECT_EQ(open_descriptors(), before);
    }
    { EXPECT_GT(hear(open_media(media_path(kFilm)).get(), 0, 0, 100).result, 0); }
    EXPECT_EQ(open_descriptors(), before);
}

TEST(ReadSound, OfAFileThatWentAwayTellsSo) {
    const TempDir folder;
    std::filesystem::copy_file(sound("stereo_s16.wav"), folder / "sound.wav");
    const Media media = open_media(folder / "sound.wav");
    std::error_code refused;
    if (!std::filesystem::remove(folder / "sound.wav", refused))
        GTEST_SKIP() << "this system keeps an open file";
    EXPECT_EQ(hear(media.get(), 0, 0, 100).result, QMIO_SOUND_NO_SOURCE);
}

}  // namespace
}  // namespace qmio::test
