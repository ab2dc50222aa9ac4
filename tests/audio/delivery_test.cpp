// From packets of sound to the host's buffer: formats, rates, channels, silence, and what comes out of odd packets.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "support/media.h"
#include "support/sound_files.h"
#include "support/sound_host.h"

namespace qmio::test {
namespace {

constexpr AVSampleFormat kFormats[] = {AV_SAMPLE_FMT_U8,   AV_SAMPLE_FMT_S16,  AV_SAMPLE_FMT_S32,  AV_SAMPLE_FMT_FLT,
                                       AV_SAMPLE_FMT_DBL,  AV_SAMPLE_FMT_S64,  AV_SAMPLE_FMT_U8P,  AV_SAMPLE_FMT_S16P,
                                       AV_SAMPLE_FMT_S32P, AV_SAMPLE_FMT_FLTP, AV_SAMPLE_FMT_DBLP, AV_SAMPLE_FMT_S64P};

// The decoded samples as they are, their channels picked by `sources`.
Bytes picked(const PlainTrack& track, const std::vector<int>& sources, uint8_t silence = 0) {
    Bytes all;
    for (const Frame& frame : track.frames) {
        const Bytes part = interleaved(block_of(*frame), sources, silence);
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// The same after a conversion.
Bytes picked_after(const PlainTrack& track, const SoundForm& to, const std::vector<int>& sources, uint8_t silence = 0) {
    PlainResampler resampler(track.form, to);
    Bytes all;
    for (const Frame& frame : track.frames) {
        const Bytes part = interleaved(resampler.convert(*frame), sources, silence);
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Bytes with_map(const std::filesystem::path& path, const SoundForm& form, const std::vector<int>& map) {
    return joined(read_exactly(path, [&](const Media& media) {
        EXPECT_TRUE(choose(media, 0, form));
        for (std::size_t channel = 0; channel < map.size(); ++channel)
            qmio_map_audio(media.get(), static_cast<int>(channel), map[channel]);
    }));
}

// ---- formats ----

class Format : public testing::TestWithParam<AVSampleFormat> {};
INSTANTIATE_TEST_SUITE_P(Of, Format, testing::ValuesIn(kFormats),
                         [](const auto& chosen) { return std::string(av_get_sample_fmt_name(chosen.param)); });

TEST_P(Format, ItsSampleSizeIsTold) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    ASSERT_TRUE(choose(media, 0, {2, 44100, GetParam()}));
    EXPECT_EQ(qmio_sample_size(media.get()), av_get_bytes_per_sample(GetParam()));
}

TEST_P(Format, IsConvertedTo) {
    for (const char* name : {"stereo_s16.wav", "stereo.aac", "five_one_s24.mov", "mono_u8.wav", "stereo_s64.nut"}) {
        const PlainTrack track = plain_track(sound(name));
        for (const int channels : {1, 2, 6, 8}) {
            for (const int rate : {track.form.rate, 48000, 11025}) {
                const SoundForm form{channels, rate, GetParam()};
                EXPECT_TRUE(sound_of(sound(name), 0, form) == converted_plainly(track, form) ||
                            (channels > track.form.channels && av_sample_fmt_is_planar(GetParam()) == 0))
                    << name << " " << channels << " channels at " << rate << " Hz";
            }
        }
    }
}

// What a host gets in a packed format for the channels that the file does not have is the file's first.
TEST_P(Format, ChannelsThatTheFileDoesNotHaveAreItsFirst) {
    if (av_sample_fmt_is_planar(GetParam()) != 0)
        GTEST_SKIP() << "planes come as libswresample makes them";
    for (const char* name : {"stereo_s16.wav", "stereo.aac", "mono_u8.wav"}) {
        const PlainTrack track = plain_track(sound(name));
        const SoundForm form{6, 48000, GetParam()};
        std::vector<int> sources(6);
        std::iota(sources.begin(), sources.begin() + track.form.channels, 0);
        EXPECT_TRUE(sound_of(sound(name), 0, form) == picked_after(track, form, sources)) << name;
    }
}

TEST(OwnForm, IsDeliveredAsDecoded) {
    for (const char* name : {"mono_u8.wav", "stereo_s16.wav", "three_s16.mov", "seven_one_s16.wav", "stereo_s32.mkv",
                             "stereo_f64.mkv", "stereo_s64.nut", "five_one_aac.mp4", "stereo_alac.m4a"}) {
        const PlainTrack track = plain_track(sound(name));
        const Bytes expected = decoded(track);
        EXPECT_TRUE(sound_of(sound(name), 0, track.form) == expected) << name;
        EXPECT_TRUE(joined(read_exactly(sound(name), [](const Media&) {})) == expected) << name << ", nothing chosen";
    }
}

TEST(Form, MayBeChosenAnewAtAnyTime) {
    const PlainTrack track = plain_track(sound("stereo_s16.wav"));
    const Media media = open_sound(sound("stereo_s16.wav"));
    const SoundForm other{1, 22050, AV_SAMPLE_FMT_FLT};
    Bytes buffer(1 << 20);
    for (std::size_t index = 0; index < track.frames.size(); ++index) {
        const Frame& frame = track.frames[index];
        ASSERT_EQ(qmio_get_frame(media.get()), 2);
        const SoundForm form = index % 2 == 0 ? other : track.form;
        ASSERT_TRUE(choose(media, 0, form));
        PlainResampler fresh(track.form, form);
        const Bytes expected = delivered(fresh.convert(*frame), form.format);
        ASSERT_EQ(qmio_audio_frame(media.get(), buffer.data()), static_cast<int>(expected.size()));
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), buffer.begin()));
        qmio_release_frame(media.get());
    }
}

TEST(Form, OfAnUnknownCodeDeliversNothing) {
    for (const int code : {1, 2, 24, -24, 7, 129, 1000, -2, -1000, INT32_MIN, INT32_MAX}) {
        for (const int track : {0, -1}) {
            const auto pieces = read_exactly(sound("stereo_s16.wav"), [&](const Media& media) {
                qmio_set_track(media.get(), track);
                EXPECT_EQ(qmio_set_dst_audio(media.get(), 2, 44100, code), 1);
                EXPECT_EQ(qmio_sample_size(media.get()), 0);
            });
            EXPECT_TRUE(pieces.empty()) << code;
        }
    }
}

TEST(Form, OfAllTracksIsPacked) {
    const auto pieces = read_exactly(sound("stereo.aac"), [](const Media& media) {
        EXPECT_TRUE(choose(media, -1, {2, 44100, AV_SAMPLE_FMT_S16P}));
        EXPECT_EQ(qmio_sample_size(media.get()), 2);
    });
    const PlainTrack track = plain_track(sound("stereo.aac"));
    EXPECT_TRUE(joined(pieces) == converted_plainly(track, {2, 44100, AV_SAMPLE_FMT_S16}));
}

// ---- channels and silence ----

TEST(Silence, IsTheMiddleOfUnsignedEightBits) {
    const PlainTrack track = plain_track(sound("stereo_u8.wav"));
    EXPECT_TRUE(with_map(sound("stereo_u8.wav"), track.form, {-1, 1}) == picked(track, {-1, 1}, 128));
    EXPECT_TRUE(with_map(sound("stereo_u8.wav"), track.form, {-1, -5}) == picked(track, {-1, -1}, 128));
}

TEST(Silence, IsZeroInOtherFormats) {
    for (const AVSampleFormat format : kFormats) {
        if (av_sample_fmt_is_planar(format) != 0)
            continue;
        const PlainTrack track = plain_track(sound("stereo_s16.wav"));
        const SoundForm form{2, 48000, format};
        const uint8_t silence = format == AV_SAMPLE_FMT_U8 ? 128 : 0;
        EXPECT_TRUE(with_map(sound("stereo_s16.wav"), form, {1, -1}) == picked_after(track, form, {1, -1}, silence))
            << av_get_sample_fmt_name(format);
    }
}

TEST(ChannelMap, PutsChannelsWhereTheHostWantsThem) {
    const PlainTrack track = plain_track(sound("seven_one_s16.wav"));
    const std::vector<int> map = {7, 3, 0, 0, 6, 1, 2, 5};
    EXPECT_TRUE(with_map(sound("seven_one_s16.wav"), track.form, map) == picked(track, map));
    const SoundForm form{8, 44100, AV_SAMPLE_FMT_FLT};
    EXPECT_TRUE(with_map(sound("seven_one_s16.wav"), form, map) == picked_after(track, form, map));
}

TEST(ChannelMap, ChannelsThatTheFileDoesNotHaveAreItsFirst) {
    const PlainTrack track = plain_track(sound("stereo_s16.wav"));
    EXPECT_TRUE(with_map(sound("stereo_s16.wav"), track.form, {2, 1}) == picked(track, {0, 1}));
    EXPECT_TRUE(with_map(sound("stereo_s16.wav"), track.form, {1, INT32_MAX}) == picked(track, {1, 0}));
    EXPECT_TRUE(with_map(sound("stereo_s16.wav"), track.form, {1, 65536}) == picked(track, {1, 0}));
    const SoundForm six{6, 48000, AV_SAMPLE_FMT_S16};
    EXPECT_TRUE(with_map(sound("stereo_s16.wav"), six, {1, 0, 5, -1, 2, 1}) ==
                picked_after(track, six, {1, 0, 0, -1, 0, 1}));
}

// After mixing down there are fewer channels than the file has.
TEST(ChannelMap, ChannelsThatWereMixedAwayAreTheFirst) {
    const PlainTrack track = plain_track(sound("five_one_s24.mov"));
    const SoundForm stereo{2, 48000, AV_SAMPLE_FMT_S16};
    EXPECT_TRUE(with_map(sound("five_one_s24.mov"), stereo, {1, 4}) == picked_after(track, stereo, {1, 0}));
}

TEST(ChannelMap, IsNotAskedForPlanes) {
    const SoundForm form{2, 48000, AV_SAMPLE_FMT_S16P};
    const PlainTrack track = plain_track(sound("stereo_s16.wav"));
    EXPECT_TRUE(with_map(sound("stereo_s16.wav"), form, {1, -1}) == converted_plainly(track, form));
}

TEST(ChannelMap, IsNotAskedForAllTracksTogether) {
    const PlainTrack track = plain_track(sound("stereo_s16.wav"));
    const auto pieces = read_exactly(sound("stereo_s16.wav"), [&](const Media& media) {
        EXPECT_TRUE(choose(media, -1, track.form));
        qmio_map_audio(media.get(), 0, -1);
        qmio_map_audio(media.get(), 1, 0);
    });
    EXPECT_TRUE(joined(pieces) == picked(track, {0, 1}));
}

// Counts of channels that stand for no speakers: nothing is converted.
TEST(ChannelCount, WithoutUsualSpeakersPassesTheDecodedSamples) {
    const PlainTrack track = plain_track(sound("stereo_s16.wav"));
    for (const int channels : {9, 11, 15, 17, 63, 64, 65, 100}) {
        std::vector<int> sources(static_cast<std::size_t>(channels));
        sources[1] = 1;
        EXPECT_TRUE(sound_of(sound("stereo_s16.wav"), 0, {channels, 48000, AV_SAMPLE_FMT_S16}) ==
                    picked(track, sources))
            << channels;
    }
}

TEST(ChannelCount, WithoutUsualSpeakersLeavesEachSampleInTheFirstBytesOfItsPlace) {
    const PlainTrack track = plain_track(sound("stereo_s16.wav"));
    const Bytes narrow = picked(track, {0, 1, 0, 0, 0, 0, 0, 0, 0});
    Bytes wide;
    for (std::size_t at = 0; at < narrow.size(); at += 2)
        wide.insert(wide.end(), {narrow[at], narrow[at + 1], 0, 0});
    EXPECT_TRUE(sound_of(sound("stereo_s16.wav"), 0, {9, 48000, AV_SAMPLE_FMT_S32}) == wide);
    Bytes bytes;
    for (std::size_t at = 0; at < narrow.size(); at += 2)
        bytes.push_back(narrow[at]);
    EXPECT_TRUE(sound_of(sound("stereo_s16.wav"), 0, {9, 48000, AV_SAMPLE_FMT_U8}) == bytes);
}

TEST(ChannelCount, WithoutUsualSpeakersGivesSilentPlanesBehindTheFilesOwn) {
    const PlainTrack track = plain_track(sound("stereo_s16.wav"));
    Bytes expected;
    for (const Frame& frame : track.frames) {
        Block block = block_of(*frame);
        block.channels.resize(9, Bytes(block.count * block.bytes));
        const Bytes part = plane_by_plane(block);
        expected.insert(expected.end(), part.begin(), part.end());
    }
    EXPECT_TRUE(sound_of(sound("stereo_s16.wav"), 0, {9, 48000, AV_SAMPLE_FMT_S16P}) == expected);
}

TEST(ChannelCount, BelowOneDeliversNothing) {
    for (const int channels : {0, -1, INT32_MIN})
        EXPECT_TRUE(sound_of(sound("stereo_s16.wav"), 0, {channels, 44100, AV_SAMPLE_FMT_S16}).empty()) << channels;
}

TEST(ChannelCount, BeyondAllMemoryDeliversNothing) {
    EXPECT_TRUE(sound_of(sound("stereo_s16.wav"), 0, {INT32_MAX, 44100, AV_SAMPLE_FMT_S16}).empty());
}

TEST(Rate, BelowOnePassesTheDecodedSamples) {
    const PlainTrack track = plain_track(sound("stereo_s16.wav"));
    for (const int rate : {0, -1, INT32_MIN})
        EXPECT_TRUE(sound_of(sound("stereo_s16.wav"), 0, {2, rate, AV_SAMPLE_FMT_S16}) == picked(track, {0, 1}))
            << rate;
}

// ---- long frames ----

TEST(LongFrames, AreDeliveredInFull) {
    const PlainTrack track = plain_track(sound("longest_frames.flac"));
    const SoundForm form{8, 48000, AV_SAMPLE_FMT_DBLP};
    const auto pieces =
        read_exactly(sound("longest_frames.flac"), [&](const Media& media) { EXPECT_TRUE(choose(media, 0, form)); });
    ASSERT_FALSE(pieces.empty());
    EXPECT_GT(pieces[0].bytes.size(), 192000U);
    EXPECT_TRUE(joined(pieces) == converted_plainly(track, form));
}

// ---- without conversion for writing ----

TEST(ConversionForWriting, WithoutResamplerIsACopy) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    ASSERT_TRUE(choose(media, 0, {2, 44100, AV_SAMPLE_FMT_S16}));
    const Bytes source = {1, 2, 3, 4, 5, 6, 7};
    Bytes target(8, 0xEE);
    EXPECT_EQ(qmio_resample_track(media.get(), 0, target.data(), source.data(), 7), 7);
    EXPECT_EQ(target, (Bytes{1, 2, 3, 4, 5, 6, 7, 0xEE}));
    EXPECT_EQ(qmio_resample_track(media.get(), 0, target.data(), source.data(), 0), 0);
    EXPECT_EQ(qmio_resample_track(media.get(), 0, target.data(), source.data(), -1), 0);
    EXPECT_EQ(qmio_resample_track(media.get(), 0, nullptr, source.data(), 7), 0);
    EXPECT_EQ(qmio_resample_track(media.get(), 0, target.data(), nullptr, 7), 0);
}

TEST(ConversionForWriting, IsNothingForAReaderWhoseSoundIsConverted) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    ASSERT_TRUE(choose(media, 0, {1, 48000, AV_SAMPLE_FMT_S16}));
    const Bytes source(400, 1);
    Bytes target(4000, 0xEE);
    EXPECT_EQ(qmio_resample_track(media.get(), 0, target.data(), source.data(), 400), 0);
    EXPECT_EQ(target, Bytes(4000, 0xEE));
}

}  // namespace
}  // namespace qmio::test
