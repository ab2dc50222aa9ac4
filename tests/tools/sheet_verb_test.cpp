#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "support/numbered_picture.h"
#include "tools/command_line.h"
#include "tools/png_file.h"

namespace qmio::test {
namespace {

// How a sheet of pictures of 320 x 192 is laid out.
constexpr int kMargin = 8;
constexpr int kWidth = 320;
constexpr int kHeight = 192;
constexpr int kLabelHeight = 18;
constexpr int kCellWidth = kWidth + kMargin;
constexpr int kCellHeight = kHeight + kLabelHeight + 2 * kMargin;

int left_of(int column) {
    return kMargin + column * kCellWidth;
}

int top_of(int row) {
    return kMargin + row * kCellHeight;
}

int number_at(const PngFile& sheet, int column, int row) {
    return read_number(sheet.pixel(left_of(column), top_of(row)), kWidth, kHeight, sheet.width * 4);
}

// The strip under a picture, as one bit per pixel.
std::vector<bool> label_at(const PngFile& sheet, int column, int row) {
    std::vector<bool> label;
    const int top = top_of(row) + kHeight + kMargin;
    for (int y = top; y < top + kLabelHeight; ++y) {
        for (int x = left_of(column); x < left_of(column) + kWidth; ++x)
            label.push_back(sheet.pixel(x, y)[0] > 127);
    }
    return label;
}

PngFile sheet_of(const std::string& name, const Arguments& more = {}) {
    const TempDir folder;
    Arguments arguments{"sheet", made(name), "--out", utf8(folder / "sheet.png")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const Outcome outcome = run_qmio(arguments);
    EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
    return read_png(folder / "sheet.png");
}

TEST(SheetVerb, ShowsFramesSpreadOverTheWholeFile) {
    const PngFile sheet = sheet_of("plain.mp4");
    ASSERT_EQ(sheet.width, left_of(4));
    ASSERT_EQ(sheet.height, top_of(4));
    for (int cell = 0; cell < 16; ++cell)
        EXPECT_EQ(number_at(sheet, cell % 4, cell / 4), cell * 150 / 16) << "cell " << cell;
}

TEST(SheetVerb, CountAndColumnsAreTheUsersChoice) {
    const PngFile sheet = sheet_of("plain.mp4", {"--count", "5", "--columns", "2"});
    ASSERT_EQ(sheet.width, left_of(2));
    ASSERT_EQ(sheet.height, top_of(3));
    for (int cell = 0; cell < 5; ++cell)
        EXPECT_EQ(number_at(sheet, cell % 2, cell / 2), cell * 30) << "cell " << cell;
}

TEST(SheetVerb, EveryPictureHasALabelOfItsOwn) {
    const PngFile sheet = sheet_of("plain.mp4", {"--count", "8"});
    ASSERT_EQ(sheet.height, top_of(2));
    std::set<std::vector<bool>> labels;
    for (int cell = 0; cell < 8; ++cell)
        labels.insert(label_at(sheet, cell % 4, cell / 4));
    EXPECT_EQ(labels.size(), 8U);
    EXPECT_FALSE(labels.contains(std::vector<bool>(std::size_t{kWidth} * kLabelHeight, false)));
}

// The same frame has the same label wherever it stands.
TEST(SheetVerb, TheLabelBelongsToTheFrameNotToItsPlace) {
    const PngFile every_fifth = sheet_of("plain.mp4", {"--count", "30"});
    const PngFile every_tenth = sheet_of("plain.mp4", {"--count", "15"});
    ASSERT_GT(every_fifth.height, 0);
    ASSERT_GT(every_tenth.height, 0);
    for (int frame = 0; frame < 150; frame += 10)
        EXPECT_EQ(label_at(every_fifth, frame / 5 % 4, frame / 5 / 4),
                  label_at(every_tenth, frame / 10 % 4, frame / 40))
            << "frame " << frame;
}

TEST(SheetVerb, AShortFileHasOnePlacePerFrame) {
    const PngFile sheet = sheet_of("one_frame.mp4");
    EXPECT_EQ(sheet.width, left_of(1));
    EXPECT_EQ(sheet.height, top_of(1));
    EXPECT_EQ(number_at(sheet, 0, 0), 0);
}

// Cut in the middle, the container still tells of the whole.
TEST(SheetVerb, FramesThatAreToldOfButNotThereTakeNoPlace) {
    const TempDir folder;
    const Bytes whole = read_bytes(media_path("h264.mkv"));
    write_bytes(folder / "cut.mkv",
                Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(whole.size() / 2)));
    const Outcome outcome = run_qmio({"sheet", utf8(folder / "cut.mkv"), "--out", utf8(folder / "sheet.png")});
    EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
    const PngFile sheet = read_png(folder / "sheet.png");
    ASSERT_EQ(sheet.height, top_of(4));
    EXPECT_EQ(number_at(sheet, 0, 0), 0);
    for (int cell = 1; cell < 16; ++cell) {
        EXPECT_GT(number_at(sheet, cell % 4, cell / 4), number_at(sheet, (cell - 1) % 4, (cell - 1) / 4));
        EXPECT_LT(number_at(sheet, cell % 4, cell / 4), 90);
    }
}

TEST(SheetVerb, TransparentPixelsShowTheSheet) {
    const PngFile sheet = sheet_of("still_alpha.png");
    ASSERT_GT(sheet.width, 0);
    for (std::size_t i = 3; i < sheet.rgba.size(); i += 4)
        ASSERT_EQ(sheet.rgba[i], 255);
}

TEST(SheetVerb, SmallPicturesAreEnlargedToBeSeen) {
    const PngFile sheet = sheet_of("tiny_18x10.mkv", {"--count", "2"});
    EXPECT_EQ(sheet.width, left_of(2));
    EXPECT_EQ(sheet.height, kMargin + 177 + kLabelHeight + 2 * kMargin);
}

// 340 x 256 pixels, each 1.338 times as wide as high.
TEST(SheetVerb, PixelsThatAreNotSquareAreShownAsMeant) {
    if (real_files().empty())
        GTEST_SKIP() << "the folder of real media is not there";
    const TempDir folder;
    run_qmio({"sheet", utf8(real_media("mmaction2-test.mp4")), "--out", utf8(folder / "sheet.png"), "--count", "1"});
    const PngFile sheet = read_png(folder / "sheet.png");
    EXPECT_EQ(sheet.width, left_of(1));
    EXPECT_EQ(sheet.height, kMargin + 180 + kLabelHeight + 2 * kMargin);
}

}  // namespace
}  // namespace qmio::test
