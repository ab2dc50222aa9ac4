// Tracks, the three names of a channel, and samples put in their places.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

#include "support/guarded_memory.h"
#include "support/media.h"
#include "support/sound_host.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr int kBehindAll = 0x100000;
constexpr int kNowhere = 0x0000FFFF;
const std::vector<int> kChannels = {1, 2, 6, 1, 3, 8, 2, 1, 4, 2, 1, 5, 1, 7, 2, 1};  // of tracks_16.mkv
constexpr int kRate = 16000;

std::filesystem::path tracks_file(int count) {
    return media_path("sound/tracks_" + std::to_string(count) + ".mkv");
}

std::vector<int> channels_of(int tracks) {
    return {kChannels.begin(), kChannels.begin() + tracks};
}

int sum(const std::vector<int>& values) {
    return std::accumulate(values.begin(), values.end(), 0);
}

// ---- numbering ----

// Every flat channel's name by the model: counting on, track after track.
void expect_numbering(MediaHandle* media, const std::vector<int>& channels) {
    int flat = 0;
    for (int track = 0; track < static_cast<int>(channels.size()); ++track)
        for (int channel = 0; channel < channels[static_cast<std::size_t>(track)]; ++channel, ++flat) {
            EXPECT_EQ(qmio_ffch2trch(media, flat), track * 65536 + channel);
            EXPECT_EQ(qmio_trch2ffch(media, track * 65536 + channel), flat);
        }
    EXPECT_EQ(qmio_trch2ffch(media, 0x00100003), flat + 3);
}

class ManyTracks : public testing::TestWithParam<int> {
  protected:
    int count() const { return GetParam(); }
    Media media_ = open_sound(tracks_file(GetParam()));
    std::vector<int> channels_ = channels_of(GetParam());
};
INSTANTIATE_TEST_SUITE_P(Of, ManyTracks, testing::Range(1, 17));

TEST_P(ManyTracks, AreNumberedThroughAllTheirChannels) {
    ASSERT_TRUE(media_);
    expect_numbering(media_.get(), channels_);
    for (int track = 0; track < count(); ++track)
        EXPECT_EQ(qmio_track_chans(media_.get(), track), channels_[static_cast<std::size_t>(track)]);
    for (int track = count(); track < 16; ++track)
        EXPECT_EQ(qmio_track_chans(media_.get(), track), 0);
    EXPECT_EQ(file_param(media_, "channels"), sum(channels_));
}

TEST_P(ManyTracks, ChannelsBehindTheLastHaveTrackSixteen) {
    // Without channels of a sixteenth track nothing but the remainder is left.
    const int behind = sum(channels_);
    const int not_taken_off = count() == 16 ? channels_.back() : 0;
    EXPECT_EQ(qmio_ffch2trch(media_.get(), behind), kBehindAll + not_taken_off);
    EXPECT_EQ(qmio_ffch2trch(media_.get(), behind + 5), kBehindAll + not_taken_off + 5);
}

// The stream forms take the place in the list of tracks for the flat channel.
TEST_P(ManyTracks, StreamsAndFlatChannelsGoByTheTrackNumber) {
    for (int track = 0; track < 16; ++track) {
        const bool there = track < count();
        EXPECT_EQ(qmio_stream2ffch(media_.get(), track), there ? track : -1);
        EXPECT_EQ(qmio_ffch2stream(media_.get(), track), there ? track : -1);
        EXPECT_EQ(qmio_stream2trch(media_.get(), track), there ? qmio_ffch2trch(media_.get(), track) : kNowhere);
        const int flat = sum(channels_of(std::min(track, count())));
        EXPECT_EQ(qmio_trch2stream(media_.get(), track * 65536), flat < count() ? flat : -1);
    }
}

TEST(TrackNumbers, OfTwoAndSixChannels) {
    const Media media = open_sound(media_path("sound/tracks_3.mkv"));  // 1, 2 and 6 channels
    EXPECT_EQ(qmio_ffch2trch(media.get(), 3), 0x00020000);
    EXPECT_EQ(qmio_trch2ffch(media.get(), 0x00020005), 8);
    EXPECT_EQ(qmio_ffch2trch(media.get(), 9), kBehindAll);
    EXPECT_EQ(qmio_ffch2stream(media.get(), 2), 2) << "the second track's second channel is in stream 1, but the place "
                                                      "in the list of tracks counts";
}

TEST(TrackNumbers, NegativeFlatChannelsAreInTrackZero) {
    const Media media = open_sound(media_path("sound/tracks_3.mkv"));
    EXPECT_EQ(qmio_ffch2trch(media.get(), -1), 0x0000FFFF);
    EXPECT_EQ(qmio_ffch2trch(media.get(), -70000), -70000 & 0xFFFF);
    EXPECT_EQ(qmio_ffch2stream(media.get(), -1), -1);
}

TEST(TrackNumbers, AnyNumberMayBeAsked) {
    const Media media = open_sound(tracks_file(16));
    for (const int number : {INT32_MIN, INT32_MIN + 1, -65536, 16, 65536 * 17, 65536 * 32767, INT32_MAX}) {
        qmio_ffch2trch(media.get(), number);
        qmio_trch2ffch(media.get(), number);
        EXPECT_EQ(qmio_stream2ffch(media.get(), number), -1);
        EXPECT_EQ(qmio_ffch2stream(media.get(), number), -1);
        EXPECT_EQ(qmio_stream2trch(media.get(), number), kNowhere);
        qmio_trch2stream(media.get(), number);
        qmio_stream_chans(media.get(), number);
        EXPECT_EQ(qmio_track_chans(media.get(), number), number < 0 ? qmio_user_chans(media.get()) : 0);
    }
}

TEST(TrackNumbers, AStreamThatIsNoTrackIsNowhere) {
    const Media media = open_sound(media_path("two_tracks_pcm_mp2.mkv"));  // stream 0 is video
    EXPECT_EQ(qmio_stream2ffch(media.get(), 0), -1);
    EXPECT_EQ(qmio_stream2trch(media.get(), 0), kNowhere);
    EXPECT_EQ(qmio_stream_chans(media.get(), 0), qmio_track_chans(media.get(), 0));
    EXPECT_EQ(qmio_stream2ffch(media.get(), 2), 1);
    EXPECT_EQ(qmio_stream_chans(media.get(), -5), qmio_user_chans(media.get()));
}

TEST(TrackNumbers, MoreThanSixteenTracksAreSixteen) {
    const Media media = open_sound(media_path("seventeen_audio_tracks.mkv"));
    EXPECT_EQ(file_param(media, "naudio"), 16);
    EXPECT_EQ(qmio_stream2ffch(media.get(), 16), 15);
    EXPECT_EQ(qmio_stream2ffch(media.get(), 17), -1);
    EXPECT_EQ(qmio_set_track(media.get(), 16), 0);
}

// ---- choosing a track ----

TEST(ChosenTrack, AtFirstIsTrackZeroInItsOwnForm) {
    const Media media = open_sound(media_path("sound/mixed_tracks.mkv"));
    EXPECT_EQ(qmio_user_chans(media.get()), 2);
    EXPECT_EQ(qmio_sample_size(media.get()), 2);
}

TEST(ChosenTrack, GivesItsNumberWhichForTrackZeroIsThatOfAFailure) {
    const Media media = open_sound(tracks_file(3));
    EXPECT_EQ(qmio_set_track(media.get(), 2), 2);
    EXPECT_EQ(qmio_user_chans(media.get()), 6);
    EXPECT_EQ(qmio_set_track(media.get(), 0), 0);
    EXPECT_EQ(qmio_user_chans(media.get()), 1);
    EXPECT_EQ(qmio_set_track(media.get(), 3), 0);
    EXPECT_EQ(qmio_user_chans(media.get()), 1);
}

TEST(ChosenTrack, TakesItsFormat) {
    const Media media = open_sound(media_path("sound/mixed_tracks.mkv"));
    const std::vector<int> bytes = {2, 4, 4, 4, 4, 1, 4, 4, 4, 2};
    for (int track = 0; track < 10; ++track) {
        qmio_set_track(media.get(), track);
        EXPECT_EQ(qmio_sample_size(media.get()), bytes[static_cast<std::size_t>(track)]) << track;
    }
}

TEST(ChosenTrack, AllTracksKeepTheChannelCountAndTakeTheFirstTracksFormat) {
    const Media media = open_sound(media_path("sound/mixed_tracks.mkv"));
    qmio_set_track(media.get(), 2);
    ASSERT_EQ(qmio_user_chans(media.get()), 6);
    EXPECT_EQ(qmio_set_track(media.get(), -1), -1);
    EXPECT_EQ(qmio_user_chans(media.get()), 6);
    EXPECT_EQ(qmio_sample_size(media.get()), 2);
    EXPECT_EQ(qmio_set_track(media.get(), -7), -7);
}

TEST(ChosenTrack, NegativeIsTakenWithoutSoundToo) {
    const Media media = open_sound(media_path("plain.mp4"));
    EXPECT_EQ(qmio_set_track(media.get(), -1), -1);
    EXPECT_EQ(qmio_set_track(media.get(), 0), 0);
}

TEST(ChosenTrack, ItsTableTellsTheFormThatIsDelivered) {
    const Media media = open_sound(tracks_file(3));
    ASSERT_TRUE(choose(media, 2, {2, 48000, AV_SAMPLE_FMT_S16}));
    EXPECT_EQ(qmio_track_chans(media.get(), 2), 2);
    EXPECT_EQ(qmio_track_chans(media.get(), 1), 2);
    EXPECT_EQ(qmio_trch2ffch(media.get(), 0x00030000), 5);
    ASSERT_TRUE(choose(media, -1, {9, 48000, AV_SAMPLE_FMT_S16}));
    EXPECT_EQ(qmio_track_chans(media.get(), 2), 6) << "all tracks keep their own channels";
    EXPECT_EQ(qmio_user_chans(media.get()), 9);
}

TEST(ChosenForm, ThatCannotBeConvertedToIsTakenWithoutAWord) {
    const Media media = open_sound(tracks_file(3));
    testing::internal::CaptureStderr();
    for (const int track : {0, -1})
        for (const int channels : {9, 11, 65, 1000, 0, -1})
            for (const int rate : {44100, 0, -1}) {
                qmio_set_track(media.get(), track);
                EXPECT_EQ(qmio_set_dst_audio(media.get(), channels, rate, 16), 1);
            }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// ---- a source with a track that cannot be decoded ----

TEST(TrackThatCannotBeDecoded, LeavesTheSourceWithoutSound) {
    const TempDir folder;
    Bytes bytes = read_bytes(media_path("two_tracks_pcm_mp2.mkv"));
    ASSERT_EQ(replace_bytes(bytes, "A_MPEG/L2", "A_MPEG/LX"), 1);
    write_bytes(folder / "unknown.mkv", bytes);
    const Media media = open_sound(folder / "unknown.mkv");
    ASSERT_TRUE(media);
    EXPECT_EQ(file_param(media, "naudio"), 2) << "the tracks stay counted";
    EXPECT_FALSE(choose(media, 0, {2, 48000, AV_SAMPLE_FMT_S16}));
    EXPECT_EQ(qmio_stream2ffch(media.get(), 1), -1);
    EXPECT_EQ(qmio_stream2ffch(media.get(), -1), -1);
    EXPECT_TRUE(read_pieces(media).empty());
    const Media again = open_sound(folder / "unknown.mkv");
    EXPECT_EQ(next_picture(again).result, 7);
    // Its tracks are those of no stream, to which a packet of no stream belongs.
    const Record packet(qmio_pkt_alloc());
    packet->dts = 1000000;
    EXPECT_EQ(qmio_pkt_put(again.get(), packet.get()), 1);
    EXPECT_EQ(qmio_is_valid_frame(again.get(), 2), 0);
    packet->stream_index = -1;
    EXPECT_EQ(qmio_pkt_put(again.get(), packet.get()), 1);
    EXPECT_EQ(qmio_is_valid_frame(again.get(), 2), 1);
}

// ---- putting tracks together ----

// Bytes that tell track, channel, frame and byte apart.
Bytes samples_of_track(int track, int channels, int frames, int bytes) {
    Bytes samples;
    for (int frame = 0; frame < frames; ++frame)
        for (int channel = 0; channel < channels; ++channel)
            for (int byte = 0; byte < bytes; ++byte)
                samples.push_back(static_cast<uint8_t>(1 + track * 61 + channel * 17 + frame * 5 + byte));
    return samples;
}

struct FormatCase {
    AVSampleFormat format;
    int bytes;
};
constexpr FormatCase kPacked[] = {{AV_SAMPLE_FMT_U8, 1},  {AV_SAMPLE_FMT_S16, 2}, {AV_SAMPLE_FMT_S32, 4},
                                  {AV_SAMPLE_FMT_FLT, 4}, {AV_SAMPLE_FMT_DBL, 8}, {AV_SAMPLE_FMT_S64, 8}};
constexpr int kFrames = 7;
constexpr uint8_t kBefore = 0xEE;

// The host's frames by the model: a channel of another track stays, one without source is zero.
Bytes assembled(const std::vector<int>& map, const std::vector<int>& channels, int bytes, int wanted_track) {
    Bytes frames(static_cast<std::size_t>(kFrames) * map.size() * static_cast<std::size_t>(bytes), kBefore);
    for (std::size_t channel = 0; channel < map.size(); ++channel) {
        int track = 0, inside = map[channel];
        while (track < static_cast<int>(channels.size()) && inside >= channels[static_cast<std::size_t>(track)])
            inside -= channels[static_cast<std::size_t>(track++)];
        const bool known = track < static_cast<int>(channels.size());
        if (map[channel] >= 0 && (!known || (wanted_track >= 0 && track != wanted_track)))
            continue;
        const int count = known ? channels[static_cast<std::size_t>(track)] : 1;
        const Bytes source = samples_of_track(track, count, kFrames, bytes);
        for (int frame = 0; frame < kFrames; ++frame)
            for (int byte = 0; byte < bytes; ++byte)
                frames[(static_cast<std::size_t>(frame) * map.size() + channel) * static_cast<std::size_t>(bytes) +
                       static_cast<std::size_t>(byte)] =
                    map[channel] < 0 ? uint8_t{0}
                                     : source[static_cast<std::size_t>((frame * count + inside) * bytes + byte)];
    }
    return frames;
}

// A buffer that ends at a page nothing may touch.
class ExactBuffer {
  public:
    explicit ExactBuffer(std::size_t size) : memory_(std::max<std::size_t>(size, 1)), size_(size) {
        std::fill_n(data(), size, kBefore);
    }
    explicit ExactBuffer(const Bytes& bytes) : ExactBuffer(bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), data());
    }
    uint8_t* data() const { return memory_.at_end(size_); }
    Bytes bytes() const { return {data(), data() + size_}; }

  private:
    GuardedMemory memory_;
    std::size_t size_;
};

void remap_every_track(const Media& media, const std::vector<int>& channels, int bytes, const ExactBuffer& target) {
    for (int track = 0; track < static_cast<int>(channels.size()); ++track) {
        const ExactBuffer source(samples_of_track(track, channels[static_cast<std::size_t>(track)], kFrames, bytes));
        EXPECT_EQ(qmio_audio_remap(media.get(), target.data(), source.data(), kFrames, track), kFrames);
    }
}

TEST_P(ManyTracks, AreAssembledByTheChannelMap) {
    const int wanted = std::min(sum(channels_) + 2, 64);
    for (const FormatCase& format : kPacked) {
        ASSERT_TRUE(choose(media_, -1, {wanted, kRate, format.format}));
        std::vector<int> map(static_cast<std::size_t>(wanted));
        std::iota(map.begin(), map.end(), 0);
        std::shuffle(map.begin(), map.end(), std::mt19937(static_cast<unsigned>(count())));
        map[map.size() / 2] = -1;
        map[0] = -100;
        for (int channel = 0; channel < wanted; ++channel)
            EXPECT_EQ(qmio_map_audio(media_.get(), channel, map[static_cast<std::size_t>(channel)]), 0);
        const Bytes expected = assembled(map, channels_, format.bytes, -1);
        const ExactBuffer target(expected.size());
        remap_every_track(media_, channels_, format.bytes, target);
        EXPECT_EQ(target.bytes(), expected) << av_get_sample_fmt_name(format.format);
    }
}

TEST_P(ManyTracks, OneTrackLeavesTheOthersChannelsAsTheyWere) {
    const int wanted = sum(channels_);
    ASSERT_TRUE(choose(media_, -1, {wanted, kRate, AV_SAMPLE_FMT_S16}));
    std::vector<int> map(static_cast<std::size_t>(wanted));
    std::iota(map.rbegin(), map.rend(), 0);
    for (int channel = 0; channel < wanted; ++channel)
        qmio_map_audio(media_.get(), channel, map[static_cast<std::size_t>(channel)]);
    for (int track = 0; track < count(); ++track) {
        const Bytes expected = assembled(map, channels_, 2, track);
        const ExactBuffer target(expected.size());
        const ExactBuffer source(samples_of_track(track, channels_[static_cast<std::size_t>(track)], kFrames, 2));
        EXPECT_EQ(qmio_audio_remap(media_.get(), target.data(), source.data(), kFrames, track), kFrames);
        EXPECT_EQ(target.bytes(), expected) << track;
    }
}

TEST_P(ManyTracks, AreAssembledAtTheirFlatPlaces) {
    const int wanted = sum(channels_);
    std::vector<int> map(static_cast<std::size_t>(wanted));
    std::iota(map.begin(), map.end(), 0);
    for (const FormatCase& format : kPacked) {
        ASSERT_TRUE(choose(media_, -1, {wanted, kRate, format.format}));
        qmio_map_audio(media_.get(), 0, -1);  // not asked
        const Bytes expected = assembled(map, channels_, format.bytes, -1);
        const ExactBuffer target(expected.size());
        for (int track = 0; track < count(); ++track) {
            const ExactBuffer source(
                samples_of_track(track, channels_[static_cast<std::size_t>(track)], kFrames, format.bytes));
            EXPECT_EQ(qmio_remap_audio(media_.get(), target.data(), source.data(), kFrames, track), kFrames);
        }
        EXPECT_EQ(target.bytes(), expected) << av_get_sample_fmt_name(format.format);
    }
}

TEST(PuttingTracksTogether, AChannelWithoutSourceIsZeroAlsoInEightBits) {
    const Media media = open_sound(tracks_file(2));
    ASSERT_TRUE(choose(media, -1, {3, kRate, AV_SAMPLE_FMT_U8}));
    qmio_map_audio(media.get(), 1, -1);
    Bytes target(6, kBefore);
    const Bytes source = {10, 20};
    EXPECT_EQ(qmio_audio_remap(media.get(), target.data(), source.data(), 2, 0), 2);
    EXPECT_EQ(target, (Bytes{10, 0, kBefore, 20, 0, kBefore}));
}

TEST(PuttingTracksTogether, ATrackAtTheLastChannelIsNotPlaced) {
    const Media media = open_sound(tracks_file(3));  // 1, 2 and 6 channels
    ASSERT_TRUE(choose(media, -1, {3, kRate, AV_SAMPLE_FMT_S16}));
    Bytes target(64, kBefore);
    const Bytes before = target, source(64, 1);
    EXPECT_EQ(qmio_remap_audio(media.get(), target.data(), source.data(), 1, 2), 0);
    EXPECT_EQ(qmio_remap_audio(media.get(), target.data(), source.data(), 0, 2), 0);
    EXPECT_EQ(target, before);
}

TEST(PuttingTracksTogether, ATrackThatReachesPastTheLastChannelIsNotCut) {
    const Media media = open_sound(tracks_file(3));
    ASSERT_TRUE(choose(media, -1, {4, kRate, AV_SAMPLE_FMT_U8}));
    const ExactBuffer target(2 * 4 + 5);  // five channels of the second frame lie behind it
    const ExactBuffer source(Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    EXPECT_EQ(qmio_remap_audio(media.get(), target.data(), source.data(), 2, 2), 2);
    EXPECT_EQ(target.bytes(), (Bytes{kBefore, kBefore, kBefore, 1, 2, 3, 4, 7, 8, 9, 10, 11, 12}));
}

TEST(PuttingTracksTogether, NothingToCopyGivesTheCount) {
    const Media media = open_sound(tracks_file(2));
    for (const int samples : {0, -1, INT32_MIN}) {
        EXPECT_EQ(qmio_audio_remap(media.get(), nullptr, nullptr, samples, 0), samples);
        EXPECT_EQ(qmio_remap_audio(media.get(), nullptr, nullptr, samples, 0), samples);
    }
}

TEST(PuttingTracksTogether, ANegativeChannelCountPutsNothingInFrontOfTheBuffer) {
    const Media media = open_media(media_path("two_audio_tracks.mp4"));
    ASSERT_NE(media, nullptr);
    qmio_set_dst_audio(media.get(), -8, 48000, 16);
    EXPECT_EQ(qmio_user_chans(media.get()), 0);
    qmio_set_track(media.get(), 1);
    std::vector<uint8_t> target(64, 0xAA);
    const std::vector<uint8_t> source(64, 0x11);
    qmio_remap_audio(media.get(), target.data() + 32, source.data(), 4, 1);
    EXPECT_EQ(std::vector<uint8_t>(target.begin(), target.begin() + 32), std::vector<uint8_t>(32, 0xAA));
}

TEST(PuttingTracksTogether, TracksThatThereCannotBeGiveZero) {
    const Media media = open_sound(tracks_file(2));
    Bytes bytes(64, kBefore);
    const Bytes before = bytes;
    for (const int track : {-1, 16, 17, 65536, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(qmio_audio_remap(media.get(), bytes.data(), before.data(), 1, track), 0);
        EXPECT_EQ(qmio_remap_audio(media.get(), bytes.data(), before.data(), 1, track), 0);
    }
    EXPECT_EQ(qmio_audio_remap(media.get(), nullptr, before.data(), 1, 0), 0);
    EXPECT_EQ(qmio_audio_remap(media.get(), bytes.data(), nullptr, 1, 0), 0);
    EXPECT_EQ(qmio_remap_audio(media.get(), nullptr, before.data(), 1, 0), 0);
    EXPECT_EQ(qmio_remap_audio(media.get(), bytes.data(), nullptr, 1, 0), 0);
    EXPECT_EQ(bytes, before);
}

TEST(ChannelMap, EntriesOutsideItAreLeftAlone) {
    const Media media = open_sound(tracks_file(1));
    ASSERT_TRUE(choose(media, 0, {1, kRate, AV_SAMPLE_FMT_S16}));
    for (const int channel : {-1, 64, 65, 1000, INT32_MAX, INT32_MIN})
        EXPECT_EQ(qmio_map_audio(media.get(), channel, -1), 0);
    EXPECT_EQ(qmio_map_audio(media.get(), 63, -1), 0);
    const Bytes source = {1, 2};
    Bytes target(2, kBefore);
    qmio_audio_remap(media.get(), target.data(), source.data(), 1, 0);
    EXPECT_EQ(target, source);
}

TEST(ChannelMap, ChoosingAFormMapsEveryChannelToItselfAgain) {
    const Media media = open_sound(tracks_file(2));
    ASSERT_TRUE(choose(media, -1, {3, kRate, AV_SAMPLE_FMT_U8}));
    for (int channel = 0; channel < 3; ++channel)
        qmio_map_audio(media.get(), channel, -1);
    ASSERT_TRUE(choose(media, -1, {3, kRate, AV_SAMPLE_FMT_U8}));
    const Bytes first = {1}, second = {2, 3};
    Bytes target(3, kBefore);
    qmio_audio_remap(media.get(), target.data(), first.data(), 1, 0);
    qmio_audio_remap(media.get(), target.data(), second.data(), 1, 1);
    EXPECT_EQ(target, (Bytes{1, 2, 3}));
}

// ---- a whole file put together ----

// What a host with one frame buffer per moment gets: every track's sound at its channels.
TEST_P(ManyTracks, ReadTogetherComeToTheWholeFile) {
    const int wanted = sum(channels_);
    const std::vector<PlainTrack> tracks = decode_plainly(tracks_file(count()));
    ASSERT_EQ(tracks.size(), channels_.size());
    Block all{2, 0, {}};
    for (const PlainTrack& track : tracks) {
        Bytes sound;
        for (const Frame& frame : track.frames) {
            const Bytes part = interleaved(block_of(*frame));
            sound.insert(sound.end(), part.begin(), part.end());
        }
        const uint8_t* plane = sound.data();
        all.count = sound.size() / 2 / static_cast<std::size_t>(track.form.channels);
        const Block block = block_of(&plane, track.form, all.count);
        all.channels.insert(all.channels.end(), block.channels.begin(), block.channels.end());
    }
    ASSERT_EQ(all.count, 4000U);
    const auto pieces = read_exactly(tracks_file(count()), [&](const Media& media) {
        EXPECT_TRUE(choose(media, -1, {wanted, kRate, AV_SAMPLE_FMT_S16}));
    });
    ASSERT_TRUE(choose(media_, -1, {wanted, kRate, AV_SAMPLE_FMT_S16}));
    const auto by_stream = joined_by_stream(pieces);
    Bytes by_map(4000 * 2 * static_cast<std::size_t>(wanted), kBefore), by_place = by_map;
    for (const auto& [stream, sound] : by_stream) {
        const int track = stream;
        ASSERT_EQ(sound.size(), 4000U * 2 * static_cast<std::size_t>(channels_[static_cast<std::size_t>(track)]));
        EXPECT_EQ(qmio_audio_remap(media_.get(), by_map.data(), sound.data(), 4000, track), 4000);
        EXPECT_EQ(qmio_remap_audio(media_.get(), by_place.data(), sound.data(), 4000, track), 4000);
    }
    EXPECT_TRUE(by_map == interleaved(all));
    EXPECT_TRUE(by_place == interleaved(all));
}

TEST_P(ManyTracks, ReadOneByOneGiveEachItsOwnSound) {
    const std::vector<PlainTrack> tracks = decode_plainly(tracks_file(count()));
    for (std::size_t track = 0; track < tracks.size(); ++track) {
        Bytes expected;
        for (const Frame& frame : tracks[track].frames) {
            const Bytes part = interleaved(block_of(*frame));
            expected.insert(expected.end(), part.begin(), part.end());
        }
        EXPECT_TRUE(sound_of(tracks_file(count()), static_cast<int>(track), tracks[track].form) == expected) << track;
    }
}

}  // namespace
}  // namespace qmio::test
