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
constexpr int kCellHeight = kHeight + 2 * kLabelHeight + 2 * kMargin;
constexpr int kTitleHeight = kLabelHeight + 2 * kMargin;

int left_of(int column) {
    return kMargin + column * kCellWidth;
}

int top_of(int row) {
    return kTitleHeight + row * kCellHeight;
}

int number_at(const PngFile& sheet, int column, int row) {
    return read_number(sheet.pixel(left_of(column), top_of(row)), kWidth, kHeight, sheet.width * 4);
}

// A line of text, as one bit per pixel.
std::vector<bool> line_at(const PngFile& sheet, int left, int top) {
    std::vector<bool> line;
    for (int y = top; y < top + kLabelHeight; ++y) {
        for (int x = left; x < left + kWidth; ++x)
            line.push_back(sheet.pixel(x, y)[0] > 127);
    }
    return line;
}

// The number under a picture, and the time code under that.
std::vector<bool> label_at(const PngFile& sheet, int column, int row) {
    return line_at(sheet, left_of(column), top_of(row) + kHeight + kMargin);
}
std::vector<bool> time_code_at(const PngFile& sheet, int column, int row) {
    return line_at(sheet, left_of(column), top_of(row) + kHeight + kMargin + kLabelHeight);
}
std::vector<bool> title_of(const PngFile& sheet) {
    return line_at(sheet, kMargin, kMargin);
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
        EXPECT_EQ(number_at(sheet, cell % 4, cell / 4), cell * 149 / 15) << "cell " << cell;
}

TEST(SheetVerb, CountAndColumnsAreTheUsersChoice) {
    const PngFile sheet = sheet_of("plain.mp4", {"--count", "5", "--columns", "2"});
    ASSERT_EQ(sheet.width, left_of(2));
    ASSERT_EQ(sheet.height, top_of(3));
    for (int cell = 0; cell < 5; ++cell)
        EXPECT_EQ(number_at(sheet, cell % 2, cell / 2), cell * 149 / 4) << "cell " << cell;
}

TEST(SheetVerb, TheLastFrameIsAmongThem) {
    for (const char* count : {"2", "7", "150", "1000"}) {
        const PngFile sheet = sheet_of("plain.mp4", {"--count", count, "--columns", "5"});
        const int cells = std::min(std::stoi(count), 150);
        EXPECT_EQ(number_at(sheet, (cells - 1) % std::min(cells, 5), (cells - 1) / 5), 149) << count;
        EXPECT_EQ(number_at(sheet, 0, 0), 0) << count;
    }
}

TEST(SheetVerb, NameAndTimeCodesAreThoseOfTheFile) {
    const TempDir folder;
    const auto sheet_of_file = [&folder](const std::filesystem::path& file) {
        const Outcome outcome = run_qmio(
            {"sheet", utf8(file), "--out", utf8(folder / "sheet.png"), "--count", "2", "--columns", "2", "--force"});
        EXPECT_EQ(outcome.exit_code, 0) << outcome.error_text;
        return read_png(folder / "sheet.png");
    };
    // The same pictures under two names, and once more with another time code.
    std::filesystem::copy_file(media_path("plain.mp4"), folder / "one.mp4");
    std::filesystem::copy_file(media_path("plain.mp4"), folder / path_of("\xD0\xB4\xD0\xB2\xD0\xB0.mp4"));
    const PngFile one = sheet_of_file(folder / "one.mp4");
    const PngFile two = sheet_of_file(folder / path_of("\xD0\xB4\xD0\xB2\xD0\xB0.mp4"));
    EXPECT_NE(title_of(one), title_of(two));
    EXPECT_EQ(time_code_at(one, 1, 0), time_code_at(two, 1, 0));
    ASSERT_EQ(run_qmio({"remux", utf8(folder / "one.mp4"), utf8(folder / "stamped.mov")}).exit_code, 0);
    const PngFile plain = sheet_of_file(folder / "stamped.mov");
    EXPECT_EQ(time_code_at(plain, 1, 0), time_code_at(one, 1, 0));
    EXPECT_NE(time_code_at(one, 0, 0), time_code_at(one, 1, 0));
    EXPECT_NE(time_code_at(one, 1, 0), std::vector<bool>(time_code_at(one, 1, 0).size()));
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
    const PngFile all = sheet_of("plain.mp4", {"--count", "150"});
    const PngFile some = sheet_of("plain.mp4", {"--count", "15"});
    ASSERT_GT(all.height, 0);
    ASSERT_GT(some.height, 0);
    for (int cell = 0; cell < 15; ++cell) {
        const int frame = cell * 149 / 14;
        EXPECT_TRUE(label_at(all, frame % 4, frame / 4) == label_at(some, cell % 4, cell / 4)) << frame;
        EXPECT_TRUE(time_code_at(all, frame % 4, frame / 4) == time_code_at(some, cell % 4, cell / 4)) << frame;
    }
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
    EXPECT_EQ(sheet.height, kTitleHeight + 177 + 2 * kLabelHeight + 2 * kMargin);
}

// 340 x 256 pixels, each 1.338 times as wide as high.
TEST(SheetVerb, PixelsThatAreNotSquareAreShownAsMeant) {
    if (real_files().empty())
        GTEST_SKIP() << "the folder of real media is not there";
    const TempDir folder;
    run_qmio({"sheet", utf8(real_media("mmaction2-test.mp4")), "--out", utf8(folder / "sheet.png"), "--count", "1"});
    const PngFile sheet = read_png(folder / "sheet.png");
    EXPECT_EQ(sheet.width, left_of(1));
    EXPECT_EQ(sheet.height, kTitleHeight + 180 + 2 * kLabelHeight + 2 * kMargin);
}

}  // namespace
}  // namespace qmio::test
