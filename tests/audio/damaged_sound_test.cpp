// Sound that is cut or damaged, and packets that are no sound at all: a host gets what can be decoded, or nothing;
// never a crash, a hang or a byte outside its buffer.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/guarded_memory.h"
#include "support/media.h"
#include "support/sound_host.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr int kLowestRate = 4000;
constexpr std::size_t kMostPieces = 60;

// Sound is converted only where the damaged rate still is one that this test has the memory for.
bool is_convertible(const Media& media) {
    for (int track = 0; track < static_cast<int>(file_param(media, "naudio")); ++track)
        if (qmio_get_stream_param(media.get(), "sample_rate", track) < kLowestRate)
            return false;
    return file_param(media, "naudio") > 0;
}

void read_in(const std::filesystem::path& path, int track, const SoundForm& form) {
    const Media media = open_sound(path);
    if (!media || !is_convertible(media) || !choose(media, track, form))
        return;
    read_pieces(media, kMostPieces);
    qmio_seek_ts(media.get(), 4000, 2);
    read_pieces(media, 5);
    qmio_seek_frame(media.get(), 0);
    read_pieces(media, 5);
}

void open_and_read(const std::filesystem::path& path, int variant) {
    static const SoundForm forms[] = {{2, 48000, AV_SAMPLE_FMT_S16},
                                      {6, 44100, AV_SAMPLE_FMT_FLTP},
                                      {1, 8000, AV_SAMPLE_FMT_U8},
                                      {9, 48000, AV_SAMPLE_FMT_S32}};
    read_in(path, variant % 5 == 4 ? -1 : 0, forms[variant % 4]);
    if (const Media media = open_sound(path); media && variant % 3 == 0)
        read_pieces(media, kMostPieces);  // nothing chosen
}

class DamagedSound : public testing::TestWithParam<const char*> {
  protected:
    static constexpr int kVariants = 40;

    std::filesystem::path written(const Bytes& bytes) const {
        const auto path = folder_ / GetParam();
        write_bytes(path, bytes);
        return path;
    }

    TempDir folder_;
    Bytes whole_ = read_bytes(media_path(std::string("sound/") + GetParam()));
};
INSTANTIATE_TEST_SUITE_P(Of, DamagedSound,
                         testing::Values("stereo.aac", "mono.m4a", "stereo.ac3", "mono.opus", "stereo.ogg",
                                         "stereo.mp3", "stereo_16_bit.flac", "stereo_alac.m4a", "ima_adpcm.wav",
                                         "stereo.wma", "stereo.wv", "mono_u8.wav", "three_frames_per_packet_mp2.mkv",
                                         "stereo_then_mono.aac", "tracks_3.mkv", "five_one.dts"),
                         [](const auto& chosen) { return test_name(chosen.param); });

TEST_P(DamagedSound, CutAnywhere) {
    ASSERT_GT(whole_.size(), 1000U);
    for (int cut = 0; cut < kVariants; ++cut) {
        SCOPED_TRACE(cut);
        const std::size_t kept = whole_.size() * static_cast<std::size_t>(cut) / kVariants;
        open_and_read(written({whole_.begin(), whole_.begin() + static_cast<std::ptrdiff_t>(kept)}), cut);
    }
}

// Half of the damage falls on the first bytes, where a file says what its sound is.
TEST_P(DamagedSound, BitsFlippedAnywhere) {
    ASSERT_GT(whole_.size(), 1000U);
    for (int seed = 0; seed < kVariants; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(static_cast<uint32_t>(seed));
        Bytes bytes = whole_;
        const std::size_t reach = seed % 2 == 0 ? bytes.size() : 600;
        for (int flip = 0; flip < 1 + seed % 16; ++flip)
            bytes[random() % reach] ^= static_cast<uint8_t>(1U << random() % 8);
        open_and_read(written(bytes), seed);
    }
}

// What is delivered of damaged sound fills its buffer to the last byte, and nothing beyond.
TEST_P(DamagedSound, StaysInsideTheHostsBuffer) {
    for (int seed = 0; seed < 8; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(static_cast<uint32_t>(seed));
        Bytes bytes = whole_;
        for (int flip = 0; flip < 12; ++flip)
            bytes[1000 + random() % (bytes.size() - 1000)] ^= static_cast<uint8_t>(1U << random() % 8);
        const auto path = written(bytes);
        if (const Media media = open_sound(path); !media || !is_convertible(media))
            continue;
        const SoundForm form{seed % 3 + 1, 44100, seed % 2 == 0 ? AV_SAMPLE_FMT_S16 : AV_SAMPLE_FMT_DBLP};
        read_exactly(path, [&](const Media& media) { choose(media, 0, form); });
    }
}

TEST_P(DamagedSound, RandomPackets) {
    const auto path = media_path(std::string("sound/") + GetParam());
    const Media media = open_sound(path);
    ASSERT_TRUE(media);
    ASSERT_TRUE(choose(media, 0, {2, 48000, AV_SAMPLE_FMT_S16}));
    const std::vector<Packet> good = packets_of(path, 0);
    const GuardedMemory memory(std::size_t{64} << 20);
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        const Packet packet(av_packet_alloc());
        const AVPacket& model = *good[random() % good.size()];
        ASSERT_EQ(av_new_packet(packet.get(), round % 3 == 0 ? 1 + static_cast<int>(random() % 3000) : model.size), 0);
        packet->stream_index = 0;
        packet->pts = static_cast<int64_t>(random()) * (round % 2 == 0 ? 1 : -1000000);
        if (round % 3 == 0)
            std::generate_n(packet->data, packet->size, [&] { return static_cast<uint8_t>(random()); });
        else
            std::copy_n(model.data, model.size, packet->data);
        for (int flip = 0; flip < round % 7; ++flip)
            packet->data[random() % static_cast<unsigned>(packet->size)] ^= static_cast<uint8_t>(1U << random() % 8);
        for (int call = 0; call < 20 && qmio_audio_pkt(media.get(), memory.at_start(), packet.get()) > 0; ++call) {
        }
    }
    SUCCEED();
}

// After damage in the middle the rest is the sound that it was.
TEST(DamageInTheMiddle, LeavesTheSoundBehindItAsItWas) {
    const TempDir folder;
    for (const char* name : {"stereo_16_bit.flac", "stereo_s16.wav", "ima_adpcm.wav"}) {
        Bytes bytes = read_bytes(media_path(std::string("sound/") + name));
        const Bytes whole = joined(read_pieces(open_sound(media_path(std::string("sound/") + name))));
        for (std::size_t at = bytes.size() / 2; at < bytes.size() / 2 + 40; ++at)
            bytes[at] ^= 0x55;
        write_bytes(folder / name, bytes);
        const Bytes damaged = joined(read_pieces(open_sound(folder / name)));
        ASSERT_GT(damaged.size(), whole.size() / 2) << name;
        const auto quarter = static_cast<std::ptrdiff_t>(whole.size() / 4);
        EXPECT_TRUE(std::equal(whole.begin(), whole.begin() + quarter, damaged.begin())) << name;
        EXPECT_TRUE(std::equal(whole.rbegin(), whole.rbegin() + quarter, damaged.rbegin())) << name;
    }
}

}  // namespace
}  // namespace qmio::test
