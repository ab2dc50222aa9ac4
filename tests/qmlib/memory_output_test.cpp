// A block of memory as a file: bounded, and quiet about what does not fit.
#include "qmlib/memory_output.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include "support/guarded_memory.h"

namespace qmio::qmlib {
namespace {

class MemoryOutputTest : public testing::Test {
  protected:
    static constexpr int kSize = 10;

    int write(const std::string& text) {
        return output_.write(reinterpret_cast<const uint8_t*>(text.data()), static_cast<int>(text.size()));
    }
    std::string read(int size) {
        std::string text(static_cast<std::size_t>(size), '?');
        const int count = output_.read(reinterpret_cast<uint8_t*>(text.data()), size);
        return count < 0 ? "end" : text.substr(0, static_cast<std::size_t>(count));
    }
    std::string content() const { return {reinterpret_cast<const char*>(block_), kSize}; }

    void SetUp() override { std::memset(block_, '.', kSize); }

    test::GuardedMemory memory_{kSize};
    uint8_t* block_ = memory_.at_end(kSize);
    MemoryOutput output_{block_, kSize};
};

TEST_F(MemoryOutputTest, WritesOneAfterTheOther) {
    EXPECT_EQ(write("abc"), 3);
    EXPECT_EQ(write("de"), 2);
    EXPECT_EQ(content(), "abcde.....");
    EXPECT_EQ(output_.high_water(), 5);
}

TEST_F(MemoryOutputTest, CutsWhatDoesNotFitAndDropsTheRestWithoutAnError) {
    EXPECT_EQ(write("abcdefgh"), 8);
    EXPECT_EQ(write("ijkl"), 2);
    EXPECT_EQ(write("m"), 0);
    EXPECT_EQ(write(""), 0);
    EXPECT_EQ(content(), "abcdefghij");
    EXPECT_EQ(output_.high_water(), kSize);
}

TEST_F(MemoryOutputTest, ReadsWhatIsThereUpToTheEndOfTheBlock) {
    write("abc");
    EXPECT_EQ(read(4), "....");
    EXPECT_EQ(output_.seek(0, SEEK_SET), 0);
    EXPECT_EQ(read(4), "abc.");
    EXPECT_EQ(read(100), "......");
    EXPECT_EQ(read(1), "end");
    EXPECT_EQ(output_.read(block_, 0), AVERROR_EOF);
}

TEST_F(MemoryOutputTest, SeeksFromTheStartTheMiddleAndTheEnd) {
    EXPECT_EQ(output_.seek(4, SEEK_SET), 4);
    EXPECT_EQ(output_.seek(2, SEEK_CUR), 6);
    EXPECT_EQ(output_.seek(-1, SEEK_CUR), 5);
    EXPECT_EQ(output_.seek(-3, SEEK_END), 7);
    EXPECT_EQ(write("x"), 1);
    EXPECT_EQ(content(), ".......x..");
    EXPECT_EQ(output_.seek(0, SEEK_CUR), 8);
}

TEST_F(MemoryOutputTest, TellsItsSizeWithoutMoving) {
    write("abc");
    EXPECT_EQ(output_.seek(0, AVSEEK_SIZE), kSize);
    EXPECT_EQ(output_.seek(0, SEEK_CUR), 3);
    EXPECT_EQ(output_.seek(0, 17), -1);
    EXPECT_EQ(output_.seek(0, SEEK_CUR), 3);
}

TEST_F(MemoryOutputTest, GoesAnywhereAndTouchesNothingThere) {
    for (const int64_t position : {int64_t{kSize}, int64_t{1} << 40, int64_t{-1}, int64_t{-1} << 40,
                                   std::numeric_limits<int64_t>::max(), std::numeric_limits<int64_t>::min()}) {
        EXPECT_EQ(output_.seek(position, SEEK_SET), position);
        EXPECT_EQ(write("abc"), 0);
        EXPECT_EQ(read(3), "end");
    }
    EXPECT_EQ(content(), "..........");
    EXPECT_EQ(output_.high_water(), 0);
}

TEST_F(MemoryOutputTest, CountsToTheLastByteEverWritten) {
    output_.seek(7, SEEK_SET);
    write("x");
    EXPECT_EQ(output_.high_water(), 8);
    output_.seek(0, SEEK_SET);
    write("ab");
    EXPECT_EQ(output_.high_water(), 8);
    EXPECT_EQ(content(), "ab.....x..");
}

TEST_F(MemoryOutputTest, IsWrittenThroughAnIoContext) {
    {
        const ffmpeg::CustomIoPtr io = make_custom_io(output_);
        ASSERT_NE(io, nullptr);
        avio_write(io.get(), reinterpret_cast<const unsigned char*>("abcdef"), 6);
        EXPECT_EQ(avio_seek(io.get(), 1, SEEK_SET), 1);
        avio_write(io.get(), reinterpret_cast<const unsigned char*>("XY"), 2);
        EXPECT_EQ(avio_size(io.get()), kSize);
        avio_seek(io.get(), 8, SEEK_SET);
        for (int time = 0; time < 100000; ++time)
            avio_w8(io.get(), '!');
        avio_flush(io.get());
        EXPECT_EQ(io->error, 0);
    }
    EXPECT_EQ(content(), "aXYdef..!!");
}

}  // namespace
}  // namespace qmio::qmlib
