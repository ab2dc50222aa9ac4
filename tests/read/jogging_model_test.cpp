// What a host can observe does not change where pictures are kept and seeks put off: two handles on one file, one that
// keeps and one that does not, are driven by the same calls drawn at random, and every result and every byte must be the
// same. A sample of sequences in every run by a seed that is printed (QMIO_TEST_SEED sets it), hundreds with
// QMIO_SWEEP=all.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "core/process/settings.h"
#include "support/media.h"
#include "support/picture_hash.h"
#include "support/seed.h"

namespace qmio::test {
namespace {

constexpr unsigned kSeed = 20261122;
constexpr int kCalls = 60;               // in a sequence
constexpr int kOften = 25;               // sequences per file with QMIO_SWEEP=all
constexpr int kSample = sample_size(4);  // otherwise
constexpr int kSoundBytes = 4 << 20;

// With B-frames, open groups of pictures, fields, sound, few key frames and none that can be told, variable rates.
const char* const kReal[] = {
    "torchcodec-nasa_13013.mp4",
    "torchcodec-h265_video.mp4",
    "mmaction2-test.mp4",
    "mmaction2-test.avi",
    "decord-flipping_a_pancake.mkv",
    "file-type-fixture.mxf",
    "file-type-fixture2.mpg",
    "media-sample_h265.ts",
    "testdata-big_buck_bunny_180_10s.webm",
    "libopenshot-test1.mp4",
    "streamio-ffmpeg-weird_aspect.small.mpg",
    "media-sample_fragmented.mp4",
    "mp4parser-count-video.mp4",
    "file-type-fixture-null.webm",
    "file-type-fixture.flv",
    "file-type-fixture.asf",
};
const char* const kMade[] = {
    "long_gop.mp4",      "h264_open_gop.ts",     "hevc_open_gop.mp4", "h264.mkv",   "mpeg2_tff.ts",
    "mpeg4_bframes.avi", "two_audio_tracks.mp4", "vp9_alt_ref.webm",  "prores.mov", "counted/mpeg2.mxf",
};

// One of the two handles: the settings hold for the time of its calls.
class Host {
  public:
    Host(const std::filesystem::path& path, const wchar_t* options, int32_t frame_cache)
        : player_(path, options), frame_cache_(frame_cache), sound_(kSoundBytes) {}

    MediaHandle* handle() const { return player_.handle(); }
    const Player& player() const { return player_; }

    // All that the call gives: its result, what it wrote, and what quick queries tell then.
    template <class Call>
    std::vector<int64_t> observe(Call&& call) {
        int32_t& setting = const_cast<Settings&>(settings()).frame_cache;
        const int32_t before = std::exchange(setting, frame_cache_);
        std::vector<int64_t> all = call(*this);
        for (const char* key : {"dts_frame", "error", "frames"})
            all.push_back(qmio_get_file_param(handle(), key));
        for (const char* key : {"vpts", "frame_type", "frame_num", "pkt_size", "apts"})
            all.push_back(qmio_get_stream_param(handle(), key, 0));
        qmio_time_param record = {};
        qmio_get_time_param(handle(), "seek", &record);
        all.push_back(record.start);
        setting = before;
        return all;
    }

    std::vector<int64_t> told(const Picture& picture) { return {picture.result, static_cast<int64_t>(picture.hash)}; }

    std::vector<int64_t> sound(int bytes) {
        uint64_t hash = 0xCBF29CE484222325U;
        for (int place = 0; place < std::min(bytes, kSoundBytes); ++place)
            hash = (hash ^ sound_[static_cast<std::size_t>(place)]) * 0x100000001B3U;
        return {bytes, static_cast<int64_t>(hash)};
    }

    Player& reader() { return player_; }
    uint8_t* sound_buffer() { return sound_.data(); }

  private:
    Player player_;
    int32_t frame_cache_;
    Bytes sound_;
};

using Told = std::vector<int64_t>;

// What a call is about is drawn once for both handles.
struct Call {
    const char* name;
    int weight;
    Told (*run)(Host& host, int frame);
};

Told read(Host& host, int) {
    return host.told(host.reader().read());
}

Told seek(Host& host, int frame) {
    return {qmio_seek_frame(host.handle(), frame)};
}

Told seek_and_read(Host& host, int frame) {
    Told told = seek(host, frame);
    const Told picture = read(host, frame);
    told.insert(told.end(), picture.begin(), picture.end());
    return told;
}

Told packet(Host& host, int) {
    Told told{qmio_get_frame(host.handle())};
    qmio_time_param record = {};
    told.push_back(qmio_get_time_param(host.handle(), "packet", &record));
    told.insert(told.end(), {record.pts, record.dts, record.duration});
    if (told.front() == QMIO_PACKET_VIDEO) {
        const Told picture = host.told(host.reader().decode_packet());
        told.insert(told.end(), picture.begin(), picture.end());
    }
    if (told.front() == QMIO_PACKET_AUDIO) {
        const Told heard = host.sound(qmio_audio_frame(host.handle(), host.sound_buffer()));
        told.insert(told.end(), heard.begin(), heard.end());
    }
    told.push_back(qmio_release_frame(host.handle()));
    return told;
}

Told place(Host& host, int) {
    qmio_time_param record = {};
    const int64_t position = qmio_get_stream_param(host.handle(), "frame_pos", 0);
    const int64_t result = qmio_get_time_param(host.handle(), "packet", &record);
    return {position, result, record.pts, record.dts, qmio_get_astream(host.handle()), qmio_get_vstream(host.handle())};
}

// What comes after a drain in mid-stream refers to pictures that are forgotten, and looks as the memory does that the
// decoder takes for them: so the next picture is a sought one.
Told drain(Host& host, int frame) {
    Told told = host.told(host.reader().drain());
    const Told sought = seek_and_read(host, frame);
    told.insert(told.end(), sought.begin(), sought.end());
    return told;
}

Told sound_by_position(Host& host, int frame) {
    return host.sound(
        std::max(qmio_read_sound(host.handle(), 0, int64_t{frame} * 512, 512, host.sound_buffer(), kSoundBytes), 0));
}

Told in_record(Host& host, int frame) {
    Bytes pixels(std::size_t{64} * 48 * 4, 0x5A);
    imio_picture picture = {};
    picture.format = qmio_fmtid("bgra");
    picture.data = pixels.data();
    picture.width = 64;
    picture.height = 48;
    picture.line_size = 256;
    picture.alignment = 1;
    const int64_t result =
        frame % 2 == 0 ? imio_get_buf(host.handle(), &picture) : imio_read_frame(host.handle(), &picture);
    return {result, static_cast<int64_t>(hash_picture(pixels.data(), 64, 48, 256))};
}

constexpr Call kCallTable[] = {
    {"read", 30, read},
    {"seek", 6, seek},
    {"seek and read", 60, seek_and_read},
    {"hold", 3, [](Host& host, int) { return host.told(host.reader().held()); }},
    {"in a record", 4, in_record},
    {"packet", 5, packet},
    {"place", 3, place},
    {"drain", 2, drain},
    {"sound by position", 1, sound_by_position},
    {"seek exactly", 2, [](Host& host, int frame) { return Told{qmio_seek_frame_ex(host.handle(), frame)}; }},
    {"seek as of old", 1, [](Host& host, int frame) { return Told{qmio_seek_frame_ex_old(host.handle(), frame)}; }},
    {"seek by time", 1,
     [](Host& host, int frame) { return Told{qmio_seek_ts(host.handle(), int64_t{frame} * 3600, 1 + frame % 2)}; }},
    {"track", 1, [](Host& host, int frame) { return Told{qmio_set_track(host.handle(), frame % 3 - 1)}; }},
    {"valid", 1, [](Host& host, int) { return Told{qmio_is_valid_frame(host.handle(), 1)}; }},
};

const Call& draw_call(Dice& dice) {
    int sum = 0;
    for (const Call& call : kCallTable)
        sum += call.weight;
    int drawn = dice.up_to(sum);
    const Call* chosen = std::begin(kCallTable);
    while ((drawn -= chosen->weight) > 0)
        ++chosen;
    return *chosen;
}

// As people ask: mostly near to where they were.
int draw_frame(Dice& dice, int before, int count) {
    switch (dice.up_to(12)) {
        case 1:
            return dice.up_to(count) - 1;
        case 2:
            return count - dice.up_to(4);
        case 3:
            return dice.up_to(4) - 2;
        case 4:
            return count + dice.up_to(20);
        case 5:
        case 6:
            return before + dice.up_to(5);
        case 7:
            return before;
        case 8:
            return before - dice.up_to(12);
        default:
            return before + (dice.up_to(3) == 1 ? 1 : -1);
    }
}

std::string text_of(const Told& told) {
    std::string text;
    for (const int64_t value : told)
        text += std::to_string(value) + ' ';
    return text;
}

class JoggingModel : public testing::Test {
  protected:
    // The calls of one sequence, until the handles differ.
    static void drive(const std::filesystem::path& path, unsigned seed) {
        Dice dice(seed);
        const wchar_t* const options = dice.up_to(4) == 1 ? L"count=1" : nullptr;
        Host keeping(path, options, 256);
        Host plain(path, options, 0);
        ASSERT_TRUE(keeping.player().is_open() && plain.player().is_open());
        const int count = std::max(plain.player().frame_count(), 1);
        std::string story = path.filename().string() + (options != nullptr ? " counted" : "") + ", sequence " +
                            std::to_string(seed) + ":";
        int frame = dice.up_to(count) - 1;
        for (int number = 0; number < kCalls; ++number) {
            const Call& call = draw_call(dice);
            frame = draw_frame(dice, frame, count);
            story += std::string(" ") + call.name + ' ' + std::to_string(frame) + ';';
            const Told kept = keeping.observe([&](Host& host) { return call.run(host, frame); });
            const Told expected = plain.observe([&](Host& host) { return call.run(host, frame); });
            ASSERT_EQ(text_of(kept), text_of(expected)) << story;
            frame = std::clamp(frame, 0, count - 1);
        }
    }

    static void drive_all(const std::vector<std::filesystem::path>& paths) {
        const unsigned seed = printed_seed(kSeed);
        const bool all = runs_whole_sweep();
        Dice dice(seed);
        for (int number = 0; number < (all ? kOften : kSample) * (all ? static_cast<int>(paths.size()) : 3); ++number) {
            const std::filesystem::path& path = paths[dice.number() % paths.size()];
            drive(all ? paths[static_cast<std::size_t>(number) % paths.size()] : path, dice.number());
        }
    }
};

TEST_F(JoggingModel, OfRealMediaTellsNoDifference) {
    if (real_files().empty())
        GTEST_SKIP() << "no folder of real media";
    std::vector<std::filesystem::path> paths;
    std::transform(std::begin(kReal), std::end(kReal), std::back_inserter(paths), real_media);
    drive_all(paths);
}

TEST_F(JoggingModel, OfMadeMediaTellsNoDifference) {
    std::vector<std::filesystem::path> paths;
    std::transform(std::begin(kMade), std::end(kMade), std::back_inserter(paths), media_path);
    drive_all(paths);
}

}  // namespace
}  // namespace qmio::test
