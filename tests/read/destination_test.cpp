// Where pictures go: pixel formats, alpha, and records of any size.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <utility>
#include <vector>

#include "read/results.h"
#include "support/guarded_memory.h"
#include "support/media.h"
#include "support/numbered_picture.h"
#include "support/open_media.h"
#include "support/picture_hash.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr int kArgb = 27;
constexpr int kRgba = 28;
constexpr int kBgra = 30;
constexpr int kBgr0 = 298;

int fourth_bytes_below_255(const Bytes& pixels) {
    int below = 0;
    for (std::size_t at = 3; at < pixels.size(); at += 4)
        below += pixels[at] != 0xFF ? 1 : 0;
    return below;
}

// The first picture, from reading or, where the decoder keeps it, from draining.
Picture first_picture(Player& player) {
    const Picture read = player.read();
    return read.result != 0 ? read : player.drain();
}

TEST(Alpha, IsOpaqueWhereTheSourceHasNone) {
    for (const char* name : {"plain.mp4", "gray.mkv", "rgb24.avi", "zero_padding.nut", "odd_161x121.webm"}) {
        for (const int format : {kBgra, kRgba}) {
            Player player(media_path(name));
            EXPECT_EQ(qmio_set_dst_fmt(player.handle(), format), 1);
            EXPECT_GT(first_picture(player).result, 0) << name;
            EXPECT_EQ(fourth_bytes_below_255(player.pixels()), 0) << name << " in format " << format;
        }
    }
}

TEST(Alpha, IsTakenToBeTheFourthByteInEveryFormatThatHasIt) {
    // In ARGB the fourth byte is blue: it is filled all the same, as hosts know it.
    Player player(media_path("plain.mp4"));
    EXPECT_EQ(qmio_set_dst_fmt(player.handle(), kArgb), 1);
    ASSERT_GT(first_picture(player).result, 0);
    EXPECT_EQ(fourth_bytes_below_255(player.pixels()), 0);
}

TEST(Alpha, OfTheSourceIsKept) {
    for (const char* name : {"still_alpha.png", "alpha_ffv1.mkv", "alpha_prores.mov", "alpha_qtrle.mov"}) {
        Player player(media_path(name));
        EXPECT_GT(first_picture(player).result, 0) << name;
        EXPECT_GT(fourth_bytes_below_255(player.pixels()), player.width() * player.height() / 4) << name;
    }
}

TEST(Alpha, AFormatWithoutItIsNotMadeOpaque) {
    Player player(media_path("zero_padding.nut"));
    EXPECT_EQ(qmio_set_dst_fmt(player.handle(), kBgr0), 1);
    ASSERT_GT(first_picture(player).result, 0);
    EXPECT_EQ(fourth_bytes_below_255(player.pixels()), player.width() * player.height());
}

// ---- Filling in opaque alpha ---------------------------------------------------------------------------------------

constexpr int kWidth = 3;
constexpr int kHeight = 4;

// A picture of three by four pixels without alpha, which in ARGB has its blue where alpha is taken to be.
class FilledAlpha : public testing::Test {
  protected:
    void open(const std::vector<uint8_t>& blues) {
        Bytes file = {'P', '6', ' ', '3', ' ', '4', ' ', '2', '5', '5', '\n'};
        for (const uint8_t blue : blues)
            file.insert(file.end(), {1, 2, blue});
        write_bytes(folder_ / "small.ppm", file);
        media_ = open_media(folder_ / "small.ppm");
        ASSERT_NE(media_, nullptr);
        ASSERT_EQ(qmio_set_dst_fmt(media_.get(), kArgb), 1);
    }
    void open_without_blue() { open(Bytes(kWidth * kHeight, 0)); }

    // What a record of this line size makes of memory of so many bytes, all of them 9 before.
    Bytes delivered(int line_size, std::size_t size) const {
        const GuardedMemory memory(size);
        imio_picture picture{};
        picture.data = memory.at_end(size);
        uint8_t* const before = picture.data - kWidth * 4 * kHeight;
        picture.width = kWidth;
        picture.height = kHeight;
        picture.line_size = line_size;
        picture.alignment = 1;
        std::fill(before, picture.data + size, uint8_t{9});
        EXPECT_EQ(imio_read_frame(media_.get(), &picture), kProgressive);
        EXPECT_TRUE(std::all_of(before, picture.data, [](int byte) { return byte == 9; })) << line_size;
        return {picture.data, picture.data + size};
    }

    TempDir folder_;
    Media media_;
};

TEST_F(FilledAlpha, IsLeftOutWhereTheFirstPixelIsOpaqueAlready) {
    open({255, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110});
    const Bytes pixels = delivered(kWidth * 4, kWidth * kHeight * 4);
    for (std::size_t pixel = 1; pixel < kWidth * kHeight; ++pixel)
        EXPECT_EQ(pixels[pixel * 4 + 3], pixel * 10);
}

TEST_F(FilledAlpha, CoversEveryPixelWhereTheFirstIsNotOpaque) {
    open({254, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110});
    EXPECT_EQ(fourth_bytes_below_255(delivered(kWidth * 4, kWidth * kHeight * 4)), 0);
}

TEST_F(FilledAlpha, FollowsTheLineSizeOverAllRows) {
    open_without_blue();
    constexpr std::size_t kRow = kWidth * 4, kLine = 2 * kRow, kBlock = kRow * kHeight;
    const Bytes memory = delivered(kLine, kLine * kHeight);
    for (std::size_t at = 3; at < memory.size(); at += 4)
        EXPECT_EQ(memory[at], at % kLine < kRow ? 0xFF : at < kBlock ? 0 : 9) << at;
    for (std::size_t at = kBlock; at < memory.size(); ++at)
        EXPECT_TRUE(at % 4 == 3 || memory[at] == 9) << at;
}

TEST_F(FilledAlpha, StaysInsideTheBlockWithoutALineSizeOfItsOwn) {
    for (const int line_size : {0, 4, kWidth * 4 - 1, -kWidth * 4, INT_MIN}) {
        open_without_blue();
        const Bytes memory = delivered(line_size, kWidth * kHeight * 4);
        for (std::size_t pixel = 0; pixel < kWidth; ++pixel)
            EXPECT_EQ(memory[pixel * 4 + 3], 0xFF) << line_size;
    }
}

TEST_F(FilledAlpha, StaysInsideTheBlockOfAFormatOfFewerBytes) {
    for (const char* name : {"AV_PIX_FMT_YA8", "AV_PIX_FMT_YUVA420P", "AV_PIX_FMT_YUVA444P"})
        for (const int line_size : {kWidth * 4, kWidth * 8}) {
            open_without_blue();
            const int format = qmio_fmtid(name);
            ASSERT_EQ(qmio_set_dst_fmt(media_.get(), format), 1);
            uint8_t* planes[4];
            int lines[4];
            const int size = qmio_image_fill_arrays(planes, lines, nullptr, format, kWidth, kHeight, 1);
            ASSERT_GT(size, 0) << name;
            delivered(line_size, static_cast<std::size_t>(size));
        }
}

// ---- Pixel formats -------------------------------------------------------------------------------------------------

TEST(DestinationFormat, RgbaIsBgraWithRedAndBlueExchanged) {
    Player blue_first(media_path("plain.mp4"));
    Player red_first(media_path("plain.mp4"));
    EXPECT_EQ(qmio_set_dst_fmt(red_first.handle(), kRgba), 1);
    blue_first.read();
    red_first.read();
    Bytes exchanged = red_first.pixels();
    for (std::size_t at = 0; at < exchanged.size(); at += 4)
        std::swap(exchanged[at], exchanged[at + 2]);
    EXPECT_EQ(exchanged, blue_first.pixels());
    EXPECT_NE(exchanged, red_first.pixels()) << "the picture has no colour to tell the formats apart";
}

TEST(DestinationFormat, ChangesFromOnePictureToTheNext) {
    Player player(media_path("plain.mp4"));
    const auto references = made_references("plain.mp4");
    EXPECT_EQ(player.read().hash, references.at(0).hash);
    qmio_set_dst_fmt(player.handle(), kRgba);
    const Picture other = player.read();
    EXPECT_EQ(other.number, 1);
    EXPECT_NE(other.hash, references.at(1).hash);
    qmio_set_dst_fmt(player.handle(), kBgra);
    EXPECT_EQ(player.held().hash, references.at(1).hash);
    EXPECT_EQ(player.read().hash, references.at(2).hash);
}

// ---- Picture records ----------------------------------------------------------------------------------------------

// A record over memory of exactly the size that its rows take.
struct Record {
    Record(int width, int height, int alignment)
        : row_bytes((width * 4 + alignment - 1) / alignment * alignment),
          memory(static_cast<std::size_t>(row_bytes) * static_cast<std::size_t>(height)) {
        picture.format = kBgra;
        picture.data = memory.data();
        picture.width = width;
        picture.height = height;
        picture.line_size = row_bytes;
        picture.alignment = alignment;
    }

    int number() const { return read_number(memory.data(), picture.width, picture.height, row_bytes); }
    uint64_t hash() const { return hash_picture(memory.data(), picture.width, picture.height, row_bytes); }

    int row_bytes;
    Bytes memory;
    imio_picture picture{};
};

TEST(PictureRecord, OfTheSourceSizeGetsTheSamePixels) {
    const auto references = made_references("plain.mp4");
    Player player(media_path("plain.mp4"));
    Record record(player.width(), player.height(), 1);
    for (std::size_t index = 0; index < 20; ++index) {
        ASSERT_EQ(imio_read_frame(player.handle(), &record.picture), kProgressive);
        ASSERT_EQ(record.hash(), references[index].hash);
    }
}

TEST(PictureRecord, OfAnotherSizeGetsTheWholePictureScaled) {
    for (const auto& [width, height] : {std::pair{160, 96}, {161, 97}, {64, 48}, {500, 301}, {33, 21}}) {
        Player player(media_path("plain.mp4"));
        Record record(width, height, 1);
        for (int number = 0; number < 40; ++number) {
            ASSERT_EQ(imio_read_frame(player.handle(), &record.picture), kProgressive);
            ASSERT_EQ(record.number(), number) << width << "x" << height;
        }
        EXPECT_EQ(fourth_bytes_below_255(record.memory), 0) << width << "x" << height;
    }
}

TEST(PictureRecord, RowsMayBeFurtherApart) {
    Player player(media_path("odd_161x121.webm"));
    Record record(player.width(), player.height(), 64);
    ASSERT_GT(record.row_bytes, player.width() * 4);
    ASSERT_GT(imio_read_frame(player.handle(), &record.picture), 0);
    EXPECT_EQ(record.hash(), made_references("odd_161x121.webm").at(0).hash);
}

TEST(PictureRecord, TakesThePictureOfAPacketAndTheHeldOne) {
    Player player(media_path("mjpeg.avi"));
    Record record(160, 96, 1);
    int result = 0;
    while (result == 0 && qmio_get_frame(player.handle()) == kVideoPacket) {
        result = imio_video_frame(player.handle(), &record.picture);
        qmio_release_frame(player.handle());
    }
    EXPECT_EQ(result, kProgressive);
    Record held(100, 60, 1);
    EXPECT_GT(imio_get_buf(player.handle(), &held.picture), 0);
    EXPECT_EQ(held.number(), 0);
}

TEST(PictureRecord, WithoutDataIsDecodedButNotConverted) {
    Player player(media_path("plain.mp4"));
    imio_picture picture{};
    picture.width = player.width();
    picture.height = player.height();
    picture.alignment = 1;
    EXPECT_EQ(imio_read_frame(player.handle(), &picture), kProgressive);
    EXPECT_EQ(imio_get_buf(player.handle(), &picture), 1);
    EXPECT_EQ(player.held().hash, made_references("plain.mp4").at(0).hash);
}

TEST(PictureRecord, DrainsLikeABuffer) {
    Player player(media_path("bframes_open_gop.mp4"));
    int delivered = 0;
    Record record(160, 96, 1);
    while (imio_read_frame(player.handle(), &record.picture) > 0)
        ASSERT_EQ(record.number(), delivered++);
    while (imio_video_pkt(player.handle(), &record.picture, nullptr) > 0 && delivered < 200)
        ASSERT_EQ(record.number(), delivered++);
    EXPECT_EQ(delivered, 120);
}

}  // namespace
}  // namespace qmio::test
