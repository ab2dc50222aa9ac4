// Every audio stream of the made and of the real files: the sound is what the ffmpeg program decodes, and what
// libswresample makes of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "support/media.h"
#include "support/sound_hash.h"
#include "support/sound_host.h"

namespace qmio::test {
namespace {

struct StreamReference {
    int track = 0;
    SoundForm form;
    std::size_t samples = 0;
    uint64_t hash = 0;
    std::size_t step = 0;
    std::vector<uint64_t> values;
};

std::vector<StreamReference> read_references(const std::filesystem::path& list) {
    std::vector<StreamReference> references;
    std::ifstream file(list);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        StreamReference reference;
        std::string format;
        words >> reference.track >> format >> reference.form.channels >> reference.form.rate >> reference.samples;
        words >> std::hex >> reference.hash >> std::dec >> reference.step >> std::hex;
        reference.form.format = av_get_sample_fmt(format.c_str());
        for (uint64_t value = 0; words >> value;)
            reference.values.push_back(value);
        references.push_back(std::move(reference));
    }
    return references;
}

// A file with sound, and where its references are.
struct SoundFile {
    std::string name;
    std::filesystem::path path;
    std::filesystem::path references;
};
void PrintTo(const SoundFile& file, std::ostream* out) {
    *out << file.name;
}

// Made media are known when the tests run, not yet when they are listed: their names stand here.
constexpr const char* kMade[] = {
    "sound/mono_u8.wav",
    "sound/stereo_u8.wav",
    "sound/stereo_s16.wav",
    "sound/three_s16.mov",
    "sound/five_one_s24.mov",
    "sound/seven_one_s16.wav",
    "sound/stereo_s32.mkv",
    "sound/stereo_f32.wav",
    "sound/stereo_f64.mkv",
    "sound/stereo_s64.nut",
    "sound/alaw.wav",
    "sound/stereo.aac",
    "sound/mono.m4a",
    "sound/five_one_aac.mp4",
    "sound/stereo.ac3",
    "sound/five_one_ac3.mkv",
    "sound/five_one_eac3.ts",
    "sound/stereo_16_bit.flac",
    "sound/five_one_24_bit.flac",
    "sound/longest_frames.flac",
    "sound/mono.opus",
    "sound/five_one_opus.mkv",
    "sound/stereo.ogg",
    "sound/five_one_vorbis.mkv",
    "sound/stereo.mp3",
    "sound/mono.mp3",
    "sound/no_gapless.mp3",
    "sound/stereo_alac.m4a",
    "sound/five_one_alac_24_bit.m4a",
    "sound/stereo.wma",
    "sound/stereo.mp2",
    "sound/ima_adpcm.wav",
    "sound/stereo.wv",
    "sound/stereo.tta",
    "sound/five_one.dts",
    "sound/stereo.thd",
    "sound/g722.wav",
    "sound/speex.ogg",
    "sound/three_frames_per_packet_mp2.mkv",
    "sound/eight_frames_per_packet_mp2.mkv",
    "sound/mono_then_stereo.aac",
    "sound/stereo_then_mono.aac",
    "sound/44100_then_22050.aac",
    "sound/tracks_16.mkv",
    "sound/tracks_16.mov",
    "sound/mixed_tracks.mkv",
    "sound/low_rate_first.mkv",
    "tone.wav",
    "two_audio_tracks.mp4",
    "seventeen_audio_tracks.mkv",
    "two_tracks_pcm_mp2.mkv",
    "small_h264_aac.mp4",
    "small_mpeg4_pcm.avi",
    "cover_picture.flac",
};

std::vector<SoundFile> made_files() {
    std::vector<SoundFile> files;
    for (const std::string name : kMade)
        files.push_back({name, media_path(name), media_path(name + ".sound")});
    return files;
}

// Those of the real files that their table knows to have sound.
std::vector<SoundFile> real_sound_files() {
    constexpr std::size_t kAudioColumn = 11;
    std::vector<SoundFile> files;
    std::ifstream table(real_media("media.tsv"));
    std::string line;
    for (std::getline(table, line); std::getline(table, line);) {
        std::vector<std::string> cells;
        std::istringstream row(line);
        for (std::string cell; std::getline(row, cell, '\t');)
            cells.push_back(cell);
        if (cells.size() > kAudioColumn && cells[kAudioColumn].starts_with("["))
            files.push_back({cells[0], real_media(cells[0]), media_path("real/" + cells[0] + ".sound")});
    }
    return files;
}

// Where the library gives less, or something else, than the ffmpeg program, each with the reason.
struct Difference {
    std::string file;
    std::size_t missing;  // samples at the end; kOther: something else
    const char* reason;
};
constexpr std::size_t kOther = ~std::size_t{0};
constexpr const char* kChangesForm = "changes its form on the way, and the ffmpeg program converts to the first one";
constexpr const char* kNotDrained =
    "the decoder holds its last frame until it is drained, which the library never does";

const std::vector<Difference> kDifferences = {
    {"sound/44100_then_22050.aac", kOther, kChangesForm},
    {"sound/stereo.wma", 2048, kNotDrained},
    {"file-type-fixture.asf", 512, kNotDrained},
    {"taglib-sharp-sample.wma", 2048, kNotDrained},
};

const Difference* known_difference(const std::string& file) {
    const auto found = std::find_if(kDifferences.begin(), kDifferences.end(),
                                    [&](const Difference& difference) { return difference.file == file; });
    return found != kDifferences.end() ? &*found : nullptr;
}

// Delivered pieces as interleaved samples.
Bytes interleaved_sound(const std::vector<Piece>& pieces, const SoundForm& form) {
    const std::size_t frame_bytes =
        static_cast<std::size_t>(form.channels) * static_cast<std::size_t>(av_get_bytes_per_sample(form.format));
    if (av_sample_fmt_is_planar(form.format) == 0)
        return joined(pieces);
    Bytes all;
    for (const Piece& piece : pieces) {
        const std::size_t count = piece.bytes.size() / frame_bytes;
        std::vector<const uint8_t*> planes;
        for (std::size_t channel = 0; channel < static_cast<std::size_t>(form.channels); ++channel)
            planes.push_back(piece.bytes.data() +
                             channel * piece.bytes.size() / static_cast<std::size_t>(form.channels));
        const Bytes part = interleaved(block_of(planes.data(), form, count));
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// Empty when the sound is the reference but for `missing` samples at its end.
std::string difference(const Bytes& sound, const StreamReference& reference, std::size_t missing) {
    const std::size_t frame_bytes = static_cast<std::size_t>(reference.form.channels) *
                                    static_cast<std::size_t>(av_get_bytes_per_sample(reference.form.format));
    const std::size_t compared = static_cast<std::size_t>(reference.form.rate) * kComparedSeconds;
    SoundHash hash(frame_bytes, reference.step);
    hash.add(sound.data(), std::min(sound.size(), compared * frame_bytes));
    std::ostringstream text;
    if (hash.samples() + missing != reference.samples)
        text << hash.samples() << " samples where the ffmpeg program decodes " << reference.samples << "; ";
#ifdef _WIN32
    // Mathematics of another C library: the last bit of floating-point sound may be another.
    if (av_get_packed_sample_fmt(reference.form.format) == AV_SAMPLE_FMT_FLT)
        return text.str();
#endif
    const std::size_t common = std::min(hash.values().size(), reference.values.size());
    const auto end = hash.values().begin() + static_cast<std::ptrdiff_t>(common);
    const auto differs = std::mismatch(hash.values().begin(), end, reference.values.begin()).first;
    if (differs != end)
        text << "differs from sample " << static_cast<std::size_t>(differs - hash.values().begin()) * reference.step;
    else if (hash.samples() == reference.samples && hash.value() != reference.hash)
        text << "the last samples differ";
    return text.str();
}

class EveryStream : public testing::TestWithParam<SoundFile> {
  protected:
    void SetUp() override {
        if (references_.empty())
            GTEST_SKIP() << "the ffmpeg program decodes no sound of it";
    }

    std::vector<StreamReference> references_ = read_references(GetParam().references);
};

TEST_P(EveryStream, IsDeliveredAsTheFfmpegProgramDecodesIt) {
    const Difference* const known = known_difference(GetParam().name);
    const bool other = known != nullptr && known->missing == kOther;
    const std::size_t missing = known != nullptr && !other ? known->missing : 0;
    std::string differences;
    for (const StreamReference& reference : references_) {
        const std::vector<Piece> pieces = read_exactly(
            GetParam().path, [&](const Media& media) { EXPECT_TRUE(choose(media, reference.track, reference.form)); });
        const std::string text = difference(interleaved_sound(pieces, reference.form), reference, missing);
        if (!text.empty())
            differences += "track " + std::to_string(reference.track) + ": " + text + "\n";
    }
    if (other) {
        EXPECT_NE(differences, "") << "it needs no excuse any more: " << known->reason;
    } else {
        EXPECT_EQ(differences, "") << (missing > 0 ? known->reason : "");
    }
}

TEST_P(EveryStream, InStereoAt48KilohertzIsWhatLibswresampleMakesOfIt) {
    const SoundForm form{2, 48000, AV_SAMPLE_FMT_S16};
    const std::vector<PlainTrack> tracks = decode_plainly(GetParam().path);
    ASSERT_EQ(tracks.size(), references_.size());
    for (std::size_t track = 0; track < tracks.size(); ++track) {
        SCOPED_TRACE(track);
        const Bytes sound = sound_of(GetParam().path, static_cast<int>(track), form);
        const auto changes = [&](const Frame& frame) { return form_of(*frame) != tracks[track].form; };
        if (std::any_of(tracks[track].frames.begin(), tracks[track].frames.end(), changes))
            continue;  // has tests of its own
        if (PlainResampler(tracks[track].form, form).works()) {
            EXPECT_TRUE(sound == converted_plainly(tracks[track], form))
                << sound.size() << " bytes where libswresample makes " << converted_plainly(tracks[track], form).size();
        }
    }
}

std::string parameter_name(const testing::TestParamInfo<SoundFile>& file) {
    return test_name(file.param.name);
}
INSTANTIATE_TEST_SUITE_P(Made, EveryStream, testing::ValuesIn(made_files()), parameter_name);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(EveryStream);
INSTANTIATE_TEST_SUITE_P(Real, EveryStream, testing::ValuesIn(real_sound_files()), parameter_name);

// Without this a missing folder of references would pass for files without sound.
TEST(EveryStreamReferences, AreThereForMadeFiles) {
    for (const SoundFile& file : made_files())
        EXPECT_FALSE(read_references(file.references).empty()) << file.name;
}

}  // namespace
}  // namespace qmio::test
