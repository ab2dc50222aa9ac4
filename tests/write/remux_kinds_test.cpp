// Kinds of video that copying could spoil: pictures out of order, starts that are not 0, hidden pictures, uneven times,
// fields, cuts.
#include <gtest/gtest.h>

#include <algorithm>

#include "support/media.h"
#include "support/plain_file.h"
#include "support/probe.h"
#include "support/process.h"
#include "support/remuxing.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

const Media kNothing;

class RemuxedKind : public testing::Test {
  protected:
    void SetUp() override {
        if (!Probe::is_there())
            GTEST_SKIP() << "there is no ffmpeg program";
    }

    std::filesystem::path copied(const std::filesystem::path& from, const std::string& container) {
        const auto to = folder_ / (utf8(from.filename()) + "." + container);
        EXPECT_TRUE(remux(from, to, "fmt=" + container)) << from << " into " << container;
        return to;
    }

    // A file that the ffmpeg program makes of another.
    std::filesystem::path made_by_program(const std::string& from, const std::string& to, Arguments options) {
        Arguments arguments = {"-nostdin", "-v", "error", "-y", "-i", utf8(media_path(from)), "-c", "copy"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.push_back(utf8(folder_ / to));
        EXPECT_EQ(run("ffmpeg", arguments).exit_code, 0);
        return folder_ / to;
    }

    TempDir folder_;
};

std::vector<double> seconds_of(const std::filesystem::path& path) {
    const Container container = open_plainly(path);
    const AVRational tick = container->streams[0]->time_base;
    std::vector<double> seconds;
    for (const Packet& packet : packets_of(path, 0))
        seconds.push_back(static_cast<double>(packet->pts) * av_q2d(tick));
    return seconds;
}

void expect_near(const std::vector<double>& found, const std::vector<double>& expected, double tolerance) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t place = 0; place < found.size(); ++place)
        EXPECT_NEAR(found[place], expected[place], tolerance) << place;
}

TEST_F(RemuxedKind, KeepsTheTimeOfEveryPicture) {
    for (const char* name : {"bframes_open_gop.mp4", "hevc_open_gop.mp4", "h264_open_gop.ts", "vfr.mp4", "vfr.mkv",
                             "starts_at_8s.mkv", "starts_at_8s.mp4", "starts_at_8s.ts", "h264_tff.mp4", "mpeg2_bff.ts",
                             "rate_30000_1001.mp4", "fragmented.mp4"})
        for (const char* container : {"matroska", "mp4", "mov"}) {
            SCOPED_TRACE(std::string(name) + " into " + container);
            expect_near(seconds_of(copied(media_path(name), container)), seconds_of(media_path(name)), 0.0006);
        }
}

TEST_F(RemuxedKind, HidesBehindAnEditListWhatTheOriginalHides) {
    for (const char* container : {"mp4", "mov"})
        EXPECT_EQ(program_frames(copied(media_path("edit_list.mp4"), container)).hashes,
                  program_frames(media_path("edit_list.mp4")).hashes);
}

TEST_F(RemuxedKind, BeginsAtZeroWhereItIsAskedTo) {
    const auto path = folder_ / "copy.mkv";
    ASSERT_TRUE(remux(media_path("starts_at_8s.mkv"), path, "fmt=matroska,avoid_negative_ts=make_zero"));
    const std::vector<double> seconds = seconds_of(path);
    EXPECT_LT(*std::min_element(seconds.begin(), seconds.end()), 0.2);
}

TEST_F(RemuxedKind, KeepsFieldsThatArePacketsOfTheirOwn) {
    if (real_files().empty())
        GTEST_SKIP() << "no folder of real media";
    const auto fields = real_media("fate-samples-hcaff1_hhi.264");
    const auto expected = program_frames(fields).hashes;
    EXPECT_EQ(expected.size(), 10U);
    for (const char* container : {"matroska", "mpegts"}) {
        const auto copy = copied(fields, container);
        EXPECT_EQ(program_frames(copy).hashes, expected) << container;
        EXPECT_EQ(program_frames(copied(copy, "nut")).hashes, expected) << container;
    }
}

TEST_F(RemuxedKind, KeepsShapeFieldOrderAndColours) {
    const auto from = made_by_program("h264_tff.mp4", "wide.mov", {"-aspect", "16:9"});
    const Probe before(from);
    for (const char* container : {"mov", "mp4", "matroska"}) {
        const Probe after(copied(from, container));
        for (const char* key :
             {"codec_name", "profile", "width", "height", "sample_aspect_ratio", "field_order", "pix_fmt",
              "avg_frame_rate", "r_frame_rate", "color_range", "color_space", "has_b_frames"})
            EXPECT_EQ(after[std::string("stream.0.") + key], before[std::string("stream.0.") + key])
                << container << key;
    }
}

TEST_F(RemuxedKind, KeepsTimecodeDispositionAndRotation) {
    const auto from = made_by_program(
        "plain.mp4", "told.mov",
        {"-disposition:v:0", "default+forced", "-timecode", "10:20:30:04", "-metadata:s:v:0", "rotate=90"});
    const Probe before(from);
    ASSERT_EQ(before["stream.0.tags.timecode"], "10:20:30:04");
    const Probe mov(copied(from, "mov"));
    EXPECT_EQ(mov["stream.0.tags.timecode"], "10:20:30:04");
    const std::string rotation = "stream.0.side_data_list.side_data.0.rotation";
    EXPECT_NE(before[rotation], "");
    EXPECT_EQ(mov[rotation], before[rotation]);
    const auto forced = made_by_program("plain.mp4", "forced.mkv", {"-disposition:v:0", "default+forced"});
    EXPECT_EQ(Probe(forced)["stream.0.disposition.forced"], "1");
    EXPECT_EQ(Probe(copied(forced, "matroska"))["stream.0.disposition.forced"], "1");
}

TEST_F(RemuxedKind, TellsWhenPicturesAreShownThatAviStoresOutOfOrder) {
    for (const char* container : {"mp4", "matroska"}) {
        std::vector<double> seconds = seconds_of(copied(media_path("mpeg4_bframes.avi"), container));
        EXPECT_FALSE(std::is_sorted(seconds.begin(), seconds.end())) << "they are stored in the order of decoding";
        std::sort(seconds.begin(), seconds.end());
        for (std::size_t place = 1; place < seconds.size(); ++place)
            EXPECT_NEAR(seconds[place] - seconds[place - 1], 0.04, 0.0011) << container << ' ' << place;
    }
}

// Copies from the first key frame behind a place two seconds after the start.
int copy_behind_a_seek(const std::filesystem::path& from, const std::filesystem::path& to,
                       const std::string& container) {
    const Media source = open_media(from);
    qmio_time_param times{};
    EXPECT_EQ(qmio_get_time_param(source.get(), "video", &times), 1);
    EXPECT_GT(qmio_seek_ts(source.get(), times.start + 2 * times.time_base_den / times.time_base_num, 1), 0);
    const Media copy = mux(to, "fmt=" + container, source, kNothing);
    // MPEG containers are not positioned at key frames.
    while (qmio_get_frame(source.get()) >= 0)
        if (qmio_get_time_param(source.get(), "key", nullptr) == 1 && qmio_copy_frame(copy.get(), source.get()) > 0)
            break;
    return 1 + copy_packets(copy, source).video;
}

// FFmpeg's filter for start codes puts the parameter sets before IDR pictures alone, and the key frames of an open GOP of
// H.264 are none: such a cut cannot be played from MPEG-TS.
bool is_without_parameter_sets(const std::string& name, const std::string& container) {
    return name == "bframes_open_gop.mp4" && container == "mpegts";
}

// Of an open GOP, the pictures that lean on the part left out need not be whole, or come out at all.
TEST_F(RemuxedKind, BeginsWithTheKeyFrameThatASeekFound) {
    constexpr int kLeading = 3;
    for (const char* name : {"plain.mp4", "bframes_open_gop.mp4", "h264_open_gop.ts", "h264.mkv", "mpeg2.mpg"})
        for (const char* container : {"mp4", "matroska", "mpegts"}) {
            SCOPED_TRACE(std::string(name) + " into " + container);
            const auto path = folder_ / "cut";
            const int copied = copy_behind_a_seek(media_path(name), path, container);
            const auto all = program_frames(media_path(name)).hashes;
            const auto cut = program_frames(path).hashes;
            const auto same = std::mismatch(cut.rbegin(), cut.rend(), all.rbegin(), all.rend()).first - cut.rbegin();
            EXPECT_GT(copied, 10);
            if (is_without_parameter_sets(name, container)) {
                EXPECT_TRUE(cut.empty()) << "needs no excuse";
                continue;
            }
            EXPECT_LT(cut.size(), all.size());
            EXPECT_GE(same, copied - kLeading);
            EXPECT_LE(static_cast<std::ptrdiff_t>(cut.size()), same + kLeading);
        }
}

}  // namespace
}  // namespace qmio::test
