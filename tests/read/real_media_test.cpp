// Files that other programs made. Where there is no folder of them (QMIO_MEDIA_DIR) these tests are skipped.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "support/access_patterns.h"
#include "support/media.h"

namespace qmio::test {
namespace {

constexpr std::size_t kMorePictures = 1000;  // than any of the files holds
constexpr int kSeeks = 12;

constexpr const char* kNoPresentationTimes =
    "no presentation times: pictures are numbered by decoding times, which run one ahead with B-frames";
constexpr const char* kUneven = "pictures are not evenly spaced, numbers go by time";
constexpr const char* kOneFrame = "no average rate or no duration: it counts as one frame and is not sought";

// Files in which a frame number need not be the place in reading order, each with the reason.
const std::map<std::string, const char*> kNumbersAreNotPlaces = {
    {"decord-corrupted.mp4", "damaged: a picture is missing, and the numbers of those behind it run one ahead"},
    {"fate-samples-hcaff1_hhi.264", kOneFrame},
    {"file-type-fixture-null.webm", kUneven},
    {"file-type-fixture.asf", kOneFrame},
    {"file-type-fixture.mxf", kNoPresentationTimes},
    {"file-type-fixture2.mpg", kNoPresentationTimes},
    {"mmaction2-test.avi", kNoPresentationTimes},
    {"mp4parser-count-video.mp4", kUneven},
};

std::vector<RealFile> videos() {
    std::vector<RealFile> files = real_files();
    std::erase_if(files, [](const RealFile& file) { return !file.has_video || !file.opens; });
    return files;
}

TEST(RealMediaFolder, IsThere) {
    if (real_files().empty())
        GTEST_SKIP() << "no folder of real media: set QMIO_MEDIA_DIR to have its files tested";
    EXPECT_FALSE(videos().empty());
}

class RealMedia : public testing::TestWithParam<RealFile> {
  protected:
    void SetUp() override {
        if (references_.empty())
            GTEST_SKIP() << "the ffmpeg program decodes no picture of it";
        ASSERT_TRUE(player_.is_open());
    }

    int count() const { return static_cast<int>(references_.size()); }

    bool reaches(int frame) {
        return qmio_seek_frame(player_.handle(), frame) == frame &&
               player_.read().hash == references_[static_cast<std::size_t>(frame)].hash;
    }

    bool numbers_are_places() const { return !kNumbersAreNotPlaces.contains(GetParam().name); }

    // Frames that a seek does not reach, as text.
    std::string missed(const std::vector<int>& frames) {
        std::string list;
        for (const int frame : frames)
            list += reaches(frame) ? "" : std::to_string(frame) + " ";
        return list;
    }

    std::vector<Reference> references_ = real_references(GetParam().name);
    Player player_{real_media(GetParam().name)};
};

TEST_P(RealMedia, DeliversEveryPictureThatTheFfmpegProgramDecodes) {
    if (GetParam().decoded > 0) {
        EXPECT_EQ(count(), GetParam().decoded) << "of the table of files";
    }
    EXPECT_EQ(difference(player_.read_rest(kMorePictures), references_), "");
}

TEST_P(RealMedia, AFrameNumberGivesThePictureOfReadingInOrder) {
    if (!numbers_are_places())
        GTEST_SKIP() << kNumbersAreNotPlaces.at(GetParam().name);
    if (count() == 1)
        GTEST_SKIP() << "a still picture is not sought";
    const RandomOrder order(count(), kSeeks);
    SCOPED_TRACE(order.description());
    EXPECT_EQ(missed(forwards(count(), kSeeks)), "") << "forwards";
    EXPECT_EQ(missed(backwards(count(), kSeeks)), "") << "backwards";
    EXPECT_EQ(missed(order.frames()), "") << "in random order";
}

TEST_P(RealMedia, IsExcusedFromExactNumbersOnlyIfItNeedsTo) {
    if (numbers_are_places())
        return;
    EXPECT_NE(missed(forwards(count(), 3 * kSeeks)), "") << "every frame was reached: it needs no excuse";
}

TEST_P(RealMedia, ReadsInOrderAgainAfterSeeking) {
    if (player_.frame_count() <= 1)
        GTEST_SKIP() << "counts as one frame and is not sought";
    player_.read_at(count() / 2);
    ASSERT_EQ(qmio_seek_frame(player_.handle(), 0), 0);
    EXPECT_EQ(difference(player_.read_rest(kMorePictures), references_), "");
}

INSTANTIATE_TEST_SUITE_P(Files, RealMedia, testing::ValuesIn(videos()),
                         [](const auto& file) { return test_name(file.param.name); });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RealMedia);

}  // namespace
}  // namespace qmio::test
