// The frame positions that a writer shares with readers of the same file.
#include "core/handle/frame_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "support/temp_dir.h"

namespace qmio::frame_index {
namespace {

constexpr int64_t kFrames = 17280000 / 8 - 1;

class PublishedFrames : public testing::Test {
  protected:
    int64_t total() const { return frame_total(index_.get()); }
    int64_t entry(int64_t number) const { return static_cast<const int64_t*>(index_->data())[number]; }

    const std::string name_ = "C:\\folder\\film " + test::unique_name() + ".ts";
    std::unique_ptr<platform::SharedMapping> index_ = publish(name_);
};

TEST_F(PublishedFrames, AreNoneAtFirst) {
    ASSERT_TRUE(index_);
    EXPECT_EQ(index_->size(), 17280000U);
    EXPECT_EQ(total(), 0);
    EXPECT_EQ(frame_total(nullptr), 0);
}

TEST_F(PublishedFrames, StandBehindTheirCount) {
    enter(*index_, 41, 123456);
    EXPECT_EQ(entry(42), 123456);
    EXPECT_EQ(entry(0), 42);
    EXPECT_EQ(total(), 42);
    EXPECT_EQ(position(*index_, 41), 123456);
}

TEST_F(PublishedFrames, OutOfOrderNeverLowerTheCount) {
    enter(*index_, 7, 700);
    enter(*index_, 3, 300);
    EXPECT_EQ(total(), 8);
    EXPECT_EQ(position(*index_, 3), 300);
    EXPECT_EQ(position(*index_, 7), 700);
}

TEST_F(PublishedFrames, BeforeTheFirstAndBehindTheLastAreLeftOut) {
    for (const int64_t frame : {int64_t{-1}, int64_t{-100}, std::numeric_limits<int64_t>::min(), kFrames, kFrames + 1,
                                std::numeric_limits<int64_t>::max()})
        enter(*index_, frame, 99);
    EXPECT_EQ(total(), 0);
    EXPECT_EQ(entry(0), 0);
    enter(*index_, kFrames - 1, 55);
    EXPECT_EQ(total(), kFrames);
    EXPECT_EQ(position(*index_, kFrames - 1), 55);
}

TEST_F(PublishedFrames, AreFoundUnderEitherSlash) {
    enter(*index_, 0, 5);
    std::string slashed = name_;
    std::replace(slashed.begin(), slashed.end(), '\\', '/');
    EXPECT_EQ(frame_total(attach(name_).get()), 1);
    EXPECT_EQ(frame_total(attach(slashed).get()), 1);
    EXPECT_EQ(attach(name_ + "x"), nullptr);
}

TEST_F(PublishedFrames, AreGoneWithTheLastWhoHasThem) {
    auto reader = attach(name_);
    index_.reset();
    EXPECT_TRUE(attach(name_));
    reader.reset();
    EXPECT_FALSE(attach(name_));
}

TEST_F(PublishedFrames, StartAnewForANewWriterWhileAReaderStays) {
    enter(*index_, 99, 4711);
    const auto reader = attach(name_);
    index_.reset();
    index_ = publish(name_);
    ASSERT_TRUE(index_);
    EXPECT_EQ(frame_total(reader.get()), 0);
    EXPECT_EQ(position(*reader, 99), 0);
    enter(*index_, 0, 12);
    EXPECT_EQ(frame_total(reader.get()), 1);
    EXPECT_EQ(position(*reader, 0), 12);
}

}  // namespace
}  // namespace qmio::frame_index
