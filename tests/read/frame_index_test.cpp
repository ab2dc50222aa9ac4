// A reader beside a writer that publishes where its frames begin.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdint>

#include "core/handle/media_handle.h"
#include "platform/shared_mapping.h"
#include "support/documented_results.h"
#include "support/media.h"
#include "support/open_media.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::test;

constexpr std::size_t kIndexBytes = 17280000;
constexpr int64_t kIndexFrames = 17280000 / 8 - 1;

// Byte positions of the video packets, from a handle without an index.
std::vector<int64_t> packet_positions(const std::filesystem::path& path) {
    std::vector<int64_t> positions;
    const Media media = open_media(path);
    for (int kind = qmio_get_frame(media.get()); kind >= 0; kind = qmio_get_frame(media.get())) {
        if (kind == 1)
            positions.push_back(media->reading.packet->pos);
        qmio_release_frame(media.get());
    }
    return positions;
}

// What a writer shares: entry 0 the number of frames, then a position for each.
class PublishedIndex {
  public:
    PublishedIndex(const std::filesystem::path& path, std::size_t bytes = kIndexBytes)
        : mapping_(qmio::platform::SharedMapping::create(slashed(utf8(path)), bytes)) {}

    bool exists() const { return mapping_ != nullptr; }

    void set(int64_t entry, int64_t value) {
        std::atomic_ref<int64_t>(static_cast<int64_t*>(mapping_->data())[entry]).store(value);
    }

    void publish(const std::vector<int64_t>& positions, std::size_t count) {
        for (std::size_t frame = 0; frame < count; ++frame)
            set(static_cast<int64_t>(frame) + 1, positions[frame]);
        set(0, static_cast<int64_t>(count));
    }

  private:
    static std::string slashed(std::string name) {
        std::replace(name.begin(), name.end(), '\\', '/');
        return name;
    }

    std::unique_ptr<qmio::platform::SharedMapping> mapping_;
};

class FrameIndex : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::copy_file(media_path("intra_mpeg2.ts"), path_);
        positions_ = packet_positions(path_);
        ASSERT_EQ(positions_.size(), 100U);
        pictures_ = all_pictures(open_media(path_), 200);
        ASSERT_EQ(pictures_.size(), 100U);
    }

    TempDir folder_;
    std::filesystem::path path_ = folder_ / "being written.ts";
    std::vector<int64_t> positions_;
    std::vector<Bytes> pictures_;
};

TEST_F(FrameIndex, IsNotThereWithoutAWriter) {
    const Media media = open_media(path_);
    ASSERT_TRUE(media);
    EXPECT_EQ(media->container.index_mapping, nullptr);
    EXPECT_EQ(media->reading.seek_position, 0);
}

TEST_F(FrameIndex, OfAnotherFileIsNotAttached) {
    PublishedIndex index(folder_ / "another.ts");
    ASSERT_TRUE(index.exists());
    index.publish(positions_, 100);
    EXPECT_EQ(open_media(path_)->container.index_mapping, nullptr);
}

TEST_F(FrameIndex, IsAttachedAndLeavesTheHandleAtTheStart) {
    PublishedIndex index(path_);
    ASSERT_TRUE(index.exists());
    index.publish(positions_, 100);
    const Media media = open_media(path_);
    ASSERT_TRUE(media);
    EXPECT_NE(media->container.index_mapping, nullptr);
    EXPECT_EQ(media->video.want_frame, 0);
    EXPECT_EQ(media->video.have_frame, -1);
    EXPECT_EQ(next_picture(media).pixels, pictures_[0]);
}

TEST_F(FrameIndex, WithoutEntriesIsAttachedAndSeeksByTime) {
    PublishedIndex index(path_);
    ASSERT_TRUE(index.exists());
    const Media media = open_media(path_);
    ASSERT_TRUE(media);
    EXPECT_NE(media->container.index_mapping, nullptr);
    EXPECT_EQ(qmio_seek_frame(media.get(), 60), 60);
    EXPECT_EQ(next_picture(media).pixels, pictures_[60]);
}

TEST_F(FrameIndex, SeeksToItsFrames) {
    PublishedIndex index(path_);
    index.publish(positions_, 100);
    const Media media = open_media(path_);
    for (const int frame : {99, 0, 50, 51, 7, 98, 1}) {
        EXPECT_EQ(qmio_seek_frame(media.get(), frame), frame);
        EXPECT_EQ(next_picture(media).pixels, pictures_[static_cast<std::size_t>(frame)]) << frame;
    }
}

TEST_F(FrameIndex, ClampsSeeksToItsLastFrame) {
    PublishedIndex index(path_);
    index.publish(positions_, 100);
    const Media media = open_media(path_);
    EXPECT_EQ(qmio_seek_frame(media.get(), 250), 99);
    EXPECT_EQ(next_picture(media).pixels, pictures_[99]);
    EXPECT_EQ(qmio_seek_frame(media.get(), INT_MAX), 99);
    EXPECT_EQ(qmio_seek_frame_ex_old(media.get(), 250), 99);
    EXPECT_EQ(qmio_seek_frame(media.get(), -5), 0);
    EXPECT_EQ(next_picture(media).pixels, pictures_[0]);
}

TEST_F(FrameIndex, GrowsWhileTheReaderIsOpen) {
    PublishedIndex index(path_);
    index.publish(positions_, 10);
    const Media media = open_media(path_);
    EXPECT_EQ(qmio_seek_frame(media.get(), 50), 9);
    index.publish(positions_, 60);
    EXPECT_EQ(qmio_seek_frame(media.get(), 50), 50);
    EXPECT_EQ(next_picture(media).pixels, pictures_[50]);
}

// A position that was taken for another frame's: reading looks at what came out and tries further back.
TEST_F(FrameIndex, ThatPointsBehindTheFrameStillDeliversIt) {
    PublishedIndex index(path_);
    index.publish(positions_, 100);
    index.set(1 + 40, positions_[45]);
    const Media media = open_media(path_);
    EXPECT_EQ(qmio_seek_frame(media.get(), 40), 40);
    EXPECT_EQ(next_picture(media).pixels, pictures_[40]);
}

TEST_F(FrameIndex, OutlivesItsWriterWhileAReaderHasIt) {
    auto index = std::make_unique<PublishedIndex>(path_);
    index->publish(positions_, 100);
    const Media media = open_media(path_);
    index.reset();
    EXPECT_EQ(qmio_seek_frame(media.get(), 70), 70);
    EXPECT_EQ(next_picture(media).pixels, pictures_[70]);
}

TEST_F(FrameIndex, IsGoneWithItsLastReader) {
    {
        auto index = std::make_unique<PublishedIndex>(path_);
        index->publish(positions_, 100);
        const Media media = open_media(path_);
        index.reset();
    }
    EXPECT_EQ(open_media(path_)->container.index_mapping, nullptr);
}

// This container refuses byte positions: the frame that was meant is returned and nothing has moved, until reading on
// finds it by time.
TEST_F(FrameIndex, OfAContainerThatCannotUseItIsReadByTime) {
    const auto path = folder_ / "refuses.mp4";
    std::filesystem::copy_file(media_path("small_h264_aac.mp4"), path);
    const std::vector<Bytes> expected = all_pictures(open_media(path), 100);
    PublishedIndex index(path);
    index.publish(std::vector<int64_t>(20, 100), 20);
    const Media media = open_media(path);
    ASSERT_TRUE(media);
    ASSERT_EQ(next_picture(media).pixels, expected[0]);
    EXPECT_EQ(qmio_seek_frame(media.get(), 250), 19);
    EXPECT_EQ(media->video.want_frame, 1);
    EXPECT_EQ(media->video.have_frame, 0);
    EXPECT_EQ(next_picture(media).pixels, expected[19]);
    EXPECT_EQ(next_picture(media).pixels, expected[20]);
    EXPECT_EQ(qmio_seek_frame(media.get(), 7), 7);
    EXPECT_EQ(media->video.want_frame, 21);
    EXPECT_EQ(next_picture(media).pixels, expected[7]);
}

TEST_F(FrameIndex, OfAContainerThatCannotUseItLeavesAHostOfPacketsWhereItStands) {
    const auto path = folder_ / "refuses.mp4";
    std::filesystem::copy_file(media_path("small_h264_aac.mp4"), path);
    PublishedIndex index(path);
    index.publish(std::vector<int64_t>(20, 100), 20);
    const Media media = open_on_one_thread(path);
    const auto next_dts = [&] {
        while (qmio_get_frame(media.get()) != QMIO_PACKET_VIDEO)
            continue;
        return media->reading.packet->dts;
    };
    const int64_t first = next_dts();
    const int64_t step = next_dts() - first;
    EXPECT_EQ(qmio_seek_frame(media.get(), 15), 15);
    EXPECT_EQ(next_dts(), first + 2 * step);
}

class HostileIndex : public FrameIndex {
  protected:
    void use() {
        const Media media = open_media(path_);
        ASSERT_TRUE(media);
        for (const int frame : {0, 5, 99, 511, 512, 100000, INT_MAX, INT_MIN, 3}) {
            EXPECT_PRED2(is_seeking_result, frame, qmio_seek_frame(media.get(), frame));
            EXPECT_PRED1(is_reading_result, next_picture(media).result);
            EXPECT_PRED2(is_positioning_result, frame, qmio_seek_frame_ex_old(media.get(), frame));
            EXPECT_PRED1(is_reading_result, next_picture(media).result);
        }
    }
};

TEST_F(HostileIndex, WithMoreEntriesThanItHasRoomForIsReadToItsEnd) {
    PublishedIndex index(path_);
    index.publish(positions_, 100);
    for (const int64_t count : {INT64_MAX, kIndexFrames + 1, kIndexFrames, int64_t{INT_MAX} + 5}) {
        index.set(0, count);
        use();
        EXPECT_EQ(qmio_seek_frame(open_media(path_).get(), INT_MAX), kIndexFrames - 1) << count;
    }
}

TEST_F(HostileIndex, WithANegativeCountIsEmpty) {
    PublishedIndex index(path_);
    index.publish(positions_, 100);
    for (const int64_t count : {INT64_MIN, int64_t{-1}, int64_t{INT_MIN}}) {
        index.set(0, count);
        const Media media = open_media(path_);
        ASSERT_TRUE(media);
        EXPECT_EQ(qmio_seek_frame(media.get(), 60), 60);
        EXPECT_EQ(next_picture(media).pixels, pictures_[60]);
    }
}

TEST_F(HostileIndex, WithPositionsOutsideTheFileEndsQuietly) {
    for (const int64_t position : {INT64_MIN, int64_t{-1}, INT64_MAX, int64_t{1} << 40}) {
        PublishedIndex index(path_);
        index.publish(std::vector<int64_t>(100, position), 100);
        use();
    }
}

// Sizes that no writer makes: one entry, and whole pages with a count far beyond them.
TEST_F(HostileIndex, ThatIsSmallerThanItShouldBeIsNotReadBeyondItsEnd) {
    for (const std::size_t bytes : {8U, 4096U, 8192U}) {
        PublishedIndex index(path_, bytes);
        ASSERT_TRUE(index.exists());
        index.set(0, kIndexFrames);
        use();
    }
}

}  // namespace
