// Packets of sound: several frames in one, of any track, damaged, of changing form, and behind a seek.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "support/media.h"
#include "support/sound_files.h"
#include "support/sound_host.h"

namespace qmio::test {
namespace {

// ---- several frames per packet ----

class FramesOfAPacket : public testing::TestWithParam<std::pair<const char*, std::size_t>> {
  protected:
    std::filesystem::path path_ = sound(GetParam().first);
    PlainTrack track_ = plain_track(path_);
    Media media_ = open_sound(path_);
    std::vector<Packet> packets_ = packets_of(path_, 0);
    Bytes buffer_ = Bytes(1 << 20);
};
INSTANTIATE_TEST_SUITE_P(Of, FramesOfAPacket,
                         testing::Values(std::pair("three_frames_per_packet_mp2.mkv", 3),
                                         std::pair("eight_frames_per_packet_mp2.mkv", 8)),
                         [](const auto& chosen) { return test_name(chosen.param.first); });

TEST_P(FramesOfAPacket, ComeOutOneByOneWhileThePacketKeepsASize) {
    ASSERT_EQ(track_.frames_per_packet.at(0), GetParam().second);
    std::size_t next = 0;
    for (std::size_t index = 0; index < packets_.size(); ++index) {
        AVPacket& packet = *packets_[index];
        const std::size_t frames = track_.frames_per_packet.at(index);
        for (std::size_t left = frames; left > 0; --left) {
            ASSERT_GT(packet.size, 0);
            const Bytes expected = delivered(block_of(*track_.frames.at(next++)), track_.form.format);
            ASSERT_EQ(qmio_audio_pkt(media_.get(), buffer_.data(), &packet), static_cast<int>(expected.size()));
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), buffer_.begin()));
        }
        EXPECT_EQ(packet.size, 0);
        EXPECT_EQ(qmio_audio_pkt(media_.get(), buffer_.data(), &packet), 0);
    }
    EXPECT_EQ(next, track_.frames.size());
}

TEST_P(FramesOfAPacket, AreNotLostByAHostThatAsksOncePerPacket) {
    Bytes all;
    int result = 0;
    for (const Packet& packet : packets_) {
        result = qmio_audio_pkt(media_.get(), buffer_.data(), packet.get());
        ASSERT_GT(result, 0);
        all.insert(all.end(), buffer_.begin(), buffer_.begin() + result);
    }
    while ((result = qmio_audio_pkt(media_.get(), buffer_.data(), packets_.back().get())) > 0)
        all.insert(all.end(), buffer_.begin(), buffer_.begin() + result);
    EXPECT_TRUE(all == decoded(track_));
}

TEST_P(FramesOfAPacket, ThatWaitAreForgottenByASeek) {
    const Bytes whole = joined(read_pieces(open_sound(path_)));
    ASSERT_EQ(qmio_get_frame(media_.get()), 2);
    ASSERT_GT(qmio_audio_frame(media_.get(), buffer_.data()), 0);
    qmio_release_frame(media_.get());
    EXPECT_EQ(qmio_seek_frame(media_.get(), 0), 0);
    EXPECT_TRUE(joined(read_pieces(media_)) == whole);
}

// A host may keep its own copy of the packet, as reader threads do.
TEST_P(FramesOfAPacket, AreFoundAgainByACopyOfThePacket) {
    const Packet copy(av_packet_alloc());
    AVPacket& packet = *packets_[0];
    ASSERT_GT(qmio_audio_pkt(media_.get(), buffer_.data(), &packet), 0);
    ASSERT_EQ(av_packet_ref(copy.get(), &packet), 0);
    const Bytes expected = delivered(block_of(*track_.frames.at(1)), track_.form.format);
    ASSERT_EQ(qmio_audio_pkt(media_.get(), buffer_.data(), copy.get()), static_cast<int>(expected.size()));
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), buffer_.begin()));
}

TEST_P(FramesOfAPacket, AreConvertedOneByOne) {
    const SoundForm form{1, 44100, AV_SAMPLE_FMT_S16};
    EXPECT_TRUE(sound_of(path_, 0, form) == converted_plainly(track_, form));
}

// Packets joined by the host itself, of codecs whose files come with one frame per packet.
TEST(JoinedPackets, GiveTheFramesOfAll) {
    for (const char* name : {"stereo.mp3", "stereo.aac", "stereo.ac3", "stereo.mp2"}) {
        const PlainTrack track = plain_track(sound(name));
        const Media media = open_sound(sound(name));
        const std::vector<Packet> packets = packets_of(sound(name), 0);
        const Packet all(av_packet_alloc());
        int size = 0;
        for (const Packet& packet : packets)
            size += packet->size;
        ASSERT_EQ(av_new_packet(all.get(), size), 0);
        uint8_t* end = all->data;
        for (const Packet& packet : packets)
            end = std::copy(packet->data, packet->data + packet->size, end);
        AVPacket* const rest = all.get();
        uint8_t* const begin = rest->data;
        Bytes buffer(1 << 20), got;
        for (int result = 0; (result = qmio_audio_pkt(media.get(), buffer.data(), rest)) > 0;)
            got.insert(got.end(), buffer.begin(), buffer.begin() + result);
        EXPECT_EQ(rest->data, begin + size);
        const Bytes expected = decoded(track);
        // Samples that a container's hint takes off the first or last packets are there in the joined one.
        EXPECT_GE(got.size(), expected.size()) << name;
        const auto found = std::search(got.begin(), got.end(), expected.begin() + 40000, expected.begin() + 60000);
        EXPECT_NE(found, got.end()) << name;
    }
}

// ---- packets ----

TEST(Packets, OfATrackThatIsNotChosenAreDeliveredInTheChosenForm) {
    const auto path = sound("mixed_tracks.mkv");
    const SoundForm form{2, 44100, AV_SAMPLE_FMT_S16};
    const std::vector<PlainTrack> tracks = decode_plainly(path);
    for (const std::size_t track : {1U, 2U, 3U, 5U, 9U}) {
        const Media media = open_sound(path);
        ASSERT_TRUE(choose(media, 0, form));
        // Sound of the same shape goes through the chosen track's resampler, its rate taken for its own.
        const SoundForm& own = tracks[track].form;
        const bool alike = own.channels == tracks[0].form.channels && own.format == tracks[0].form.format;
        PlainResampler resampler(alike ? tracks[0].form : own, form);
        Bytes expected, got, buffer(1 << 20);
        for (const Frame& frame : tracks[track].frames) {
            const Block block = resampler.convert(frame->extended_data, frame->nb_samples, own.rate);
            const Bytes part = interleaved(block, {0, own.channels > 1 ? 1 : 0});
            expected.insert(expected.end(), part.begin(), part.end());
        }
        for (const Packet& packet : packets_of(path, tracks[track].stream))
            for (int result = 0; (result = qmio_audio_pkt(media.get(), buffer.data(), packet.get())) > 0;)
                got.insert(got.end(), buffer.begin(), buffer.begin() + result);
        EXPECT_TRUE(got == expected) << track;
    }
}

TEST(Packets, AreUsedUp) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    const std::vector<Packet> packets = packets_of(sound("stereo_s16.wav"), 0);
    Bytes buffer(1 << 20);
    const uint8_t* const end = packets[0]->data + packets[0]->size;
    const int size = packets[0]->size;
    EXPECT_EQ(qmio_audio_pkt(media.get(), buffer.data(), packets[0].get()), size);
    EXPECT_EQ(packets[0]->size, 0);
    EXPECT_EQ(packets[0]->data, end);
}

TEST(Packets, OfOtherStreamsGiveNothing) {
    const Media media = open_sound(media_path("two_tracks_pcm_mp2.mkv"));
    Bytes buffer(1 << 20);
    for (const Packet& packet : packets_of(media_path("two_tracks_pcm_mp2.mkv"), 0)) {
        const int size = packet->size;
        EXPECT_EQ(qmio_audio_pkt(media.get(), buffer.data(), packet.get()), 0);
        EXPECT_EQ(packet->size, size);
    }
    const Packet packet = std::move(packets_of(media_path("two_tracks_pcm_mp2.mkv"), 1).at(0));
    for (const int stream : {-1, 0, 3, 16, INT32_MAX, INT32_MIN}) {
        packet->stream_index = stream;
        EXPECT_EQ(qmio_audio_pkt(media.get(), buffer.data(), packet.get()), 0) << stream;
    }
}

TEST(Packets, WithoutDataGiveNothing) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    const Packet empty(av_packet_alloc());
    Bytes buffer(1 << 20);
    EXPECT_EQ(qmio_audio_pkt(media.get(), buffer.data(), empty.get()), 0);
    EXPECT_EQ(qmio_audio_pkt(media.get(), buffer.data(), nullptr), 0);
    const Packet packet = std::move(packets_of(sound("stereo_s16.wav"), 0).at(0));
    EXPECT_EQ(qmio_audio_pkt(media.get(), nullptr, packet.get()), 0);
    const int size = packet->size;
    packet->size = 0;
    EXPECT_EQ(qmio_audio_pkt(media.get(), buffer.data(), packet.get()), 0);
    packet->size = -3;
    EXPECT_EQ(qmio_audio_pkt(media.get(), buffer.data(), packet.get()), 0);
    packet->size = size;
    EXPECT_EQ(qmio_audio_pkt(media.get(), buffer.data(), packet.get()), size) << "nothing of it was used before";
}

TEST(Packets, OfASourceWithoutSoundGiveNothing) {
    const Media media = open_sound(media_path("plain.mp4"));
    const Packet packet = std::move(packets_of(sound("stereo_s16.wav"), 0).at(0));
    Bytes buffer(1 << 20);
    EXPECT_EQ(qmio_set_dst_audio(media.get(), 2, 48000, 16), 0);
    EXPECT_EQ(qmio_audio_pkt(media.get(), buffer.data(), packet.get()), 0);
    EXPECT_EQ(qmio_audio_frame(media.get(), buffer.data()), 0);
}

TEST(HeldPacket, GivesNothingBeforeTheFirstAndAfterItsRelease) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    Bytes buffer(1 << 20);
    EXPECT_EQ(qmio_audio_frame(media.get(), buffer.data()), 0);
    ASSERT_EQ(qmio_get_frame(media.get()), 2);
    EXPECT_EQ(qmio_audio_frame(media.get(), nullptr), 0);
    EXPECT_EQ(qmio_release_frame(media.get()), 0);
    EXPECT_EQ(qmio_audio_frame(media.get(), buffer.data()), 0);
    ASSERT_EQ(qmio_get_frame(media.get()), 2);
    EXPECT_GT(qmio_audio_frame(media.get(), buffer.data()), 0);
    EXPECT_EQ(qmio_audio_frame(media.get(), buffer.data()), 0) << "it gave all";
}

TEST(HeldPacket, OfAnotherKindLeavesTheSoundPacketBefore) {
    const auto path = media_path("two_tracks_pcm_mp2.mkv");
    const Media media = open_sound(path);
    int kind = 0;
    while ((kind = qmio_get_frame(media.get())) != 2)
        ASSERT_GE(kind, 0);
    while ((kind = qmio_get_frame(media.get())) == 2)
        ASSERT_GE(kind, 0);
    Bytes buffer(1 << 20);
    EXPECT_GT(qmio_audio_frame(media.get(), buffer.data()), 0);
}

TEST(DamagedPacket, GivesNothingAndTheNextOneIsGood) {
    const Media media = open_sound(sound("stereo_16_bit.flac"));
    const PlainTrack track = plain_track(sound("stereo_16_bit.flac"));
    const std::vector<Packet> packets = packets_of(sound("stereo_16_bit.flac"), 0);
    const Packet noise(av_packet_alloc());
    ASSERT_EQ(av_new_packet(noise.get(), 100), 0);
    std::memset(noise->data, 0x5A, 100);
    Bytes buffer(1 << 20);
    EXPECT_EQ(qmio_audio_pkt(media.get(), buffer.data(), noise.get()), 0);
    EXPECT_EQ(noise->size, 100) << "it is not used up";
    const Bytes expected = delivered(block_of(*track.frames.at(0)), track.form.format);
    ASSERT_EQ(qmio_audio_pkt(media.get(), buffer.data(), packets[0].get()), static_cast<int>(expected.size()));
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), buffer.begin()));
}

// ---- all tracks together ----

// Every track is resampled as if it were the first, unless its samples have another shape.
class AllTracks : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Of, AllTracks, testing::Values("mixed_tracks.mkv", "low_rate_first.mkv"),
                         [](const auto& chosen) { return test_name(chosen.param); });

TEST_P(AllTracks, GoByTheFirstTracksRateWhereTheirShapeAllowsIt) {
    const auto path = sound(GetParam());
    const std::vector<PlainTrack> tracks = decode_plainly(path);
    for (const AVSampleFormat format : {AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_U8}) {
        for (const int rate : {48000, 44100, 8000}) {
            const auto sounds = joined_by_stream(read_exactly(path, [&](const Media& media) {
                EXPECT_TRUE(choose(media, -1, {2, rate, format}));
            }));
            for (const PlainTrack& track : tracks) {
                const bool alike =
                    track.form.channels == tracks[0].form.channels && track.form.format == tracks[0].form.format;
                PlainResampler resampler(alike ? tracks[0].form : track.form, {track.form.channels, rate, format});
                Bytes expected;
                for (const Frame& frame : track.frames) {
                    const Bytes part =
                        interleaved(resampler.convert(frame->extended_data, frame->nb_samples, track.form.rate));
                    expected.insert(expected.end(), part.begin(), part.end());
                }
                EXPECT_TRUE(sounds.at(track.stream) == expected) << track.stream << " at " << rate;
            }
        }
    }
}

TEST(OneTrack, OfAMixedFileIsItsOwnSound) {
    const auto path = sound("mixed_tracks.mkv");
    const std::vector<PlainTrack> tracks = decode_plainly(path);
    for (std::size_t track = 0; track < tracks.size(); ++track) {
        const SoundForm form{1, 32000, AV_SAMPLE_FMT_S16P};
        EXPECT_TRUE(sound_of(path, static_cast<int>(track), form) == converted_plainly(tracks[track], form)) << track;
    }
}

// ---- sound that changes its form on the way ----

class ChangingForm : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Of, ChangingForm,
                         testing::Values("mono_then_stereo.aac", "stereo_then_mono.aac", "44100_then_22050.aac",
                                         "stereo_32000_then_five_one_48000.ac3"),
                         [](const auto& chosen) { return test_name(chosen.param); });

// Frames of the form that the file began with go through the usual resampler, others through one of their own.
Bytes changing_sound(const PlainTrack& track, const SoundForm& to) {
    PlainResampler usual(track.form, to);
    std::unique_ptr<PlainResampler> own;
    SoundForm own_form;
    Bytes all;
    for (const Frame& frame : track.frames) {
        const SoundForm form = form_of(*frame);
        if (form != track.form && (own == nullptr || own_form != form)) {
            own = std::make_unique<PlainResampler>(form, to);
            own_form = form;
        }
        const Block block = (form == track.form ? usual : *own).convert(*frame);
        std::vector<int> sources(static_cast<std::size_t>(to.channels));
        for (int channel = 0; channel < std::min(form.channels, to.channels); ++channel)
            sources[static_cast<std::size_t>(channel)] = channel;
        const Bytes part =
            av_sample_fmt_is_planar(to.format) != 0 ? plane_by_plane(block) : interleaved(block, sources);
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

TEST_P(ChangingForm, IsDeliveredInTheChosenFormThroughout) {
    const PlainTrack track = plain_track(sound(GetParam()));
    ASSERT_NE(form_of(*track.frames.front()), form_of(*track.frames.back())) << "the file does not change";
    for (const SoundForm& form : {SoundForm{2, 48000, AV_SAMPLE_FMT_S16}, SoundForm{1, 22050, AV_SAMPLE_FMT_FLTP},
                                  SoundForm{6, 44100, AV_SAMPLE_FMT_S32P}, track.form}) {
        EXPECT_TRUE(sound_of(sound(GetParam()), 0, form) == changing_sound(track, form))
            << form.channels << " channels at " << form.rate;
    }
}

TEST_P(ChangingForm, IsDeliveredWithAllTracksTogether) {
    const PlainTrack track = plain_track(sound(GetParam()));
    const SoundForm form{track.form.channels, 48000, AV_SAMPLE_FMT_S16};
    const auto pieces =
        read_exactly(sound(GetParam()), [&](const Media& media) { EXPECT_TRUE(choose(media, -1, form)); });
    EXPECT_TRUE(joined(pieces) == changing_sound(track, form));
}

// ---- seeking ----

TEST(SeekingSound, ToTheStartGivesTheSameAgain) {
    for (const char* name : {"stereo_s16.wav", "stereo.mp3", "stereo.ogg", "stereo_16_bit.flac", "stereo.wv"}) {
        const Media media = open_sound(sound(name));
        const SoundForm form{2, 48000, AV_SAMPLE_FMT_S16};
        const PlainTrack track = plain_track(sound(name));
        const Bytes whole = joined(read_pieces(media));
        EXPECT_EQ(qmio_seek_frame(media.get(), 5), 0) << "a source of sound alone is rewound";
        EXPECT_TRUE(joined(read_pieces(media)) == whole) << name;
        ASSERT_TRUE(choose(media, 0, form));
        qmio_seek_frame(media.get(), 0);
        EXPECT_TRUE(joined(read_pieces(media)) == converted_plainly(track, form)) << name;
    }
}

TEST(SeekingSound, ToATimeGivesTheRest) {
    const Media media = open_sound(sound("stereo_s16.wav"));
    const Bytes whole = joined(read_pieces(media));
    EXPECT_EQ(qmio_seek_ts(media.get(), 22050, 2), 22050);
    const Bytes rest = joined(read_pieces(media));
    ASSERT_LT(rest.size(), whole.size());
    ASSERT_GE(rest.size(), whole.size() - std::size_t{22050} * 4);
    EXPECT_TRUE(std::equal(rest.rbegin(), rest.rend(), whole.rbegin()));
}

TEST(SeekingSound, ToAFrameOfTheVideoGoesOnAroundThere) {
    const auto path = media_path("two_tracks_pcm_mp2.mkv");
    const Media media = open_sound(path);
    const Bytes whole = joined(read_pieces(media));
    EXPECT_EQ(qmio_seek_frame(media.get(), 25), 25);
    const Bytes rest = joined(read_pieces(media));
    ASSERT_LT(rest.size(), whole.size());
    ASSERT_GE(rest.size(), whole.size() / 2 - whole.size() / 20);
    EXPECT_TRUE(std::equal(rest.rbegin(), rest.rend(), whole.rbegin()));
}

// A decoder that carries sound over from packet to packet begins anew behind a seek.
TEST(SeekingSound, BeginsWithFlushedDecoders) {
    for (const char* name : {"stereo.mp3", "stereo.ogg", "five_one_aac.mp4", "five_one_opus.mkv", "five_one_ac3.mkv"}) {
        const int64_t target = std::string(name).ends_with(".mkv") ? 500 : 20000;
        const auto tracks =
            decode_plainly(sound(name), {7, [&](AVFormatContext& container) {
                                             ASSERT_GE(av_seek_frame(&container, 0, target, AVSEEK_FLAG_BACKWARD), 0);
                                         }});
        const Media media = open_sound(sound(name));
        Bytes buffer(1 << 20);
        for (int packet = 0; packet < 7; ++packet) {
            qmio_get_frame(media.get());
            qmio_audio_frame(media.get(), buffer.data());
            qmio_release_frame(media.get());
        }
        ASSERT_EQ(qmio_seek_ts(media.get(), target, 2), target) << name;
        EXPECT_TRUE(joined(read_pieces(media)) == decoded(tracks[0])) << name;
    }
}

}  // namespace
}  // namespace qmio::test
