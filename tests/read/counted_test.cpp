// The option "count": pictures are numbered in the order in which they are shown, and each is reached by its number.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "support/access_patterns.h"
#include "support/http_server.h"
#include "support/media.h"
#include "support/seed.h"

namespace qmio::test {
namespace {

constexpr const wchar_t* kCount = L"count=1";
constexpr std::size_t kMorePictures = 1000;  // than any of the files holds
constexpr int kSeeks = sample_size(12);

// What a file is for, and where it is not in the folder of made media, its place there.
const char* const kMade[] = {
    // Without a container, and without what tells the length.
    "raw.h264",
    "counted/raw_open_gop.h264",
    "counted/raw_interlaced.h264",
    "counted/raw_starts_inside_gop.h264",
    "counted/raw.hevc",
    "counted/raw_open_gop.hevc",
    "raw.m2v",
    "counted/raw.m1v",
    "counted/raw_intra.m2v",
    "counted/raw.m4v",
    "counted/raw.mjpeg",
    "counted/raw.h263",
    "counted/raw.drc",
    "counted/raw_alt_ref_vp8.ivf",
    "counted/raw_alt_ref_vp9.ivf",
    "counted/raw.apng",
    "counted/no_length.swf",
    "counted/no_length.roq",
    "counted/no_length.asf",
    "counted/no_length_bframes.asf",
    "counted/no_length_bframes.ts",
    "counted/no_length_vp8.ogg",
    "live_h264.mkv",
    "live_hevc.mkv",
    "live_mpeg2.mkv",
    "live_mpeg4.mkv",
    "live_vp8.mkv",
    // Without times of showing.
    "mpeg4_bframes.avi",
    "counted/h264_bframes.avi",
    "counted/mpeg1.mpg",
    "counted/mpeg2.mxf",
    // Of variable rate.
    "vfr.mp4",
    "vfr.mkv",
    "counted/uneven.mp4",
    "counted/uneven.mkv",
    "counted/uneven.ts",
    "counted/uneven.flv",
    "counted/uneven.nut",
    "counted/uneven.webm",
    "counted/uneven.ogv",
    "counted/uneven_edit_list.mp4",
    // Evenly spaced.
    "plain.mp4",
    "bframes_open_gop.mp4",
    "h264.ts",
    "h264_open_gop.ts",
    "starts_inside_gop.ts",
    "h264.mkv",
    "fragmented.mp4",
    "intra_refresh.mp4",
    "mpeg2.ts",
    "mpeg2.mpg",
    "hevc_open_gop.mp4",
    "hevc.ts",
    "vp9_alt_ref.webm",
    "vp8_alt_ref.webm",
    "mjpeg.avi",
    "prores.mov",
    "png.mkv",
    "numbers.gif",
    "starts_at_8s.ts",
    "edit_list.mp4",
    "h264_tff.mp4",
    "mpeg2_bff.ts",
    "odd_161x121.webm",
    "two_audio_tracks.mp4",
    "zero_padding.nut",
};

constexpr const char* kDamaged = "packets that no picture can be decoded from count";

// Real files that are left out, each with the reason.
const std::map<std::string, const char*> kNotCounted = {
    {"decord-corrupted.mp4", kDamaged},
    {"mutagen-truncated-64bit.mp4", kDamaged},
};

// What a case needs: a path, and what the ffmpeg program decodes.
struct CountedFile {
    std::string name;
    bool made = true;
};

void PrintTo(const CountedFile& file, std::ostream* out) {
    *out << file.name;
}

std::vector<CountedFile> files() {
    std::vector<CountedFile> all;
    for (const char* name : kMade)
        all.push_back({name});
    for (const RealFile& real : real_files())
        if (real.has_video && real.opens && !kNotCounted.contains(real.name))
            all.push_back({real.name, false});
    return all;
}

class Counted : public testing::TestWithParam<CountedFile> {
  protected:
    void SetUp() override {
        if (references_.empty())
            GTEST_SKIP() << "the ffmpeg program decodes no picture of it";
        ASSERT_TRUE(player_.is_open());
    }

    int count() const { return static_cast<int>(references_.size()); }

    std::vector<int> some_frames() const {
        const bool all = runs_whole_sweep();
        std::vector<int> frames = RandomOrder(count(), all ? 3 * count() : kSeeks).frames();
        if (all)
            for (int frame = 0; frame < count(); ++frame)
                frames.push_back(frame);
        for (const int edge : {0, 1, 2, count() - 1, count() - 2})
            if (edge >= 0 && edge < count())
                frames.push_back(edge);
        return frames;
    }

    std::vector<Reference> references_ =
        GetParam().made ? made_references(GetParam().name) : real_references(GetParam().name);
    Player player_{GetParam().made ? media_path(GetParam().name) : real_media(GetParam().name), kCount};
};

TEST_P(Counted, TellsHowManyPicturesThereAre) {
    EXPECT_EQ(player_.frame_count(), count());
    qmio_time_param times{};
    ASSERT_EQ(qmio_get_time_param(player_.handle(), "video", &times), 1);
    EXPECT_EQ(times.frame_count, count());
}

TEST_P(Counted, ReadsEveryPictureUnderItsPlace) {
    for (int number = 0; number < count(); ++number) {
        Picture picture = player_.read();
        if (picture.result == 0)
            picture = player_.drain();
        ASSERT_EQ(picture.hash, references_[static_cast<std::size_t>(number)].hash) << "picture " << number;
        ASSERT_EQ(qmio_get_file_param(player_.handle(), "dts_frame"), number);
    }
    EXPECT_LE(player_.read().result, QMIO_PICTURE_HELD);
    EXPECT_EQ(player_.read_rest(kMorePictures).size(), 0U);
}

TEST_P(Counted, ReachesEveryPictureByItsNumber) {
    if (count() == 1)
        GTEST_SKIP() << "a still picture is not sought";
    SCOPED_TRACE(RandomOrder(count(), kSeeks).description());
    for (const int frame : some_frames()) {
        ASSERT_EQ(qmio_seek_frame(player_.handle(), frame), frame);
        ASSERT_EQ(player_.read().hash, references_[static_cast<std::size_t>(frame)].hash) << "frame " << frame;
        ASSERT_EQ(qmio_get_file_param(player_.handle(), "dts_frame"), frame);
    }
}

TEST_P(Counted, ReadsOnFromWhatWasSought) {
    if (count() < 4)
        GTEST_SKIP() << "has too few pictures";
    for (const int frame : {count() / 2, 0, count() - 3}) {
        ASSERT_EQ(qmio_seek_frame(player_.handle(), frame), frame);
        const std::vector<Reference> rest(references_.begin() + frame, references_.end());
        ASSERT_EQ(difference(player_.read_rest(kMorePictures), rest), "") << "from frame " << frame;
    }
}

INSTANTIATE_TEST_SUITE_P(Files, Counted, testing::ValuesIn(files()),
                         [](const auto& file) { return test_name(file.param.name); });

// ---- What the option leaves as it is ------------------------------------------------------------------------------

TEST(CountOption, OfNoughtCountsNothing) {
    EXPECT_EQ(Player(media_path("raw.h264"), L"count=0").frame_count(), 1);
    EXPECT_EQ(Player(media_path("raw.h264"), kCount).frame_count(), 60);
}

TEST(CountOption, IsForgottenWhereASourceCannotGoBack) {
    const HttpServer server(read_bytes(media_path("live_h264.mkv")));
    const std::string url = server.url("film.mkv");
    Player player(url, kCount);
    ASSERT_TRUE(player.is_open());
    EXPECT_EQ(player.frame_count(), 1);
    EXPECT_EQ(difference(player.read_rest(kMorePictures), made_references("live_h264.mkv")), "");
}

TEST(CountOption, LeavesStillPicturesAndSoundAlone) {
    for (const char* name : {"still.png", "still.jpg", "one_frame.mp4", "tone.wav", "cover_picture.flac"}) {
        const Media plain = open_media(media_path(name).string());
        const Media counted = open_media(media_path(name).string(), "count=1");
        ASSERT_NE(counted, nullptr) << name;
        EXPECT_EQ(file_param(counted, "frames"), file_param(plain, "frames")) << name;
        if (file_param(plain, "nvideo") > 0) {
            EXPECT_EQ(next_picture(counted).pixels, next_picture(plain).pixels) << name;
        }
    }
}

TEST(CountOption, LeavesTheTimesOfPicturesAsTheyAre) {
    Player plain(media_path("vfr.mkv"));
    Player counted(media_path("vfr.mkv"), kCount);
    for (int number = 0; number < 30; ++number) {
        ASSERT_EQ(plain.read().hash, counted.read().hash);
        for (const char* key : {"vpts", "frame_type", "pkt_size"})
            EXPECT_EQ(qmio_get_stream_param(counted.handle(), key, 0), qmio_get_stream_param(plain.handle(), key, 0))
                << key << " of picture " << number;
    }
}

TEST(CountOption, NumbersPicturesThatAreDecodedPacketByPacket) {
    Player player(media_path("mpeg4_bframes.avi"), kCount);
    const std::vector<Picture> pictures = player.read_rest_by_packets(kMorePictures);
    EXPECT_EQ(difference(pictures, made_references("mpeg4_bframes.avi")), "");
    EXPECT_EQ(qmio_get_file_param(player.handle(), "dts_frame"), static_cast<int64_t>(pictures.size()) - 1);
}

TEST(CountOption, CountsForReadingInTheBackground) {
    Player player(media_path("counted/uneven.mkv"), kCount);
    const std::vector<Reference> references = made_references("counted/uneven.mkv");
    qmio_fifo_ts(player.handle(), 0, -1, 0, -1, 1);
    for (int number = 0; number < 20; ++number) {
        ASSERT_EQ(player.read().hash, references[static_cast<std::size_t>(number)].hash);
        EXPECT_EQ(qmio_get_file_param(player.handle(), "dts_frame"), number);
    }
}

TEST(CountOption, ReachesTheStartWhereAPositionIsRefused) {
    Player player(media_path("counted/no_length.roq"), kCount);
    const std::vector<Reference> references = made_references("counted/no_length.roq");
    EXPECT_EQ(player.read_at(40).hash, references.at(40).hash);
    EXPECT_EQ(player.read_at(2).hash, references.at(2).hash);
}

TEST(CountOption, EndsBehindTheLastPicture) {
    Player player(media_path("raw.h264"), kCount);
    EXPECT_EQ(qmio_seek_frame(player.handle(), 1000), 1000);
    EXPECT_EQ(player.read().result, 0);
    EXPECT_EQ(player.read_at(7).hash, made_references("raw.h264").at(7).hash);
}

}  // namespace
}  // namespace qmio::test
