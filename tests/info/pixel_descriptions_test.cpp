// The sentences about pixel formats: those that hosts know letter for letter, and those of the installed FFmpeg's
// header.
#include <gtest/gtest.h>
#include <qmio.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/frozen_pixel_formats.h"

namespace {

constexpr const char* kUnknown = "Unknown format";

struct Rows {
    int first;
    int last;
};

// The table's formats in its order; six of them stand in it twice.
const std::vector<Rows> kTable = {{-1, -1},   {0, 5},   {30, 30}, {6, 7},     {44, 44},   {46, 46},  {8, 18},
                                  {28, 28},   {48, 48}, {50, 50}, {19, 26},   {29, 29},   {27, 27},  {31, 118},
                                  {295, 298}, {90, 90}, {89, 89}, {299, 314}, {123, 125}, {315, 327}};

std::set<int> table() {
    std::set<int> numbers;
    for (const Rows& rows : kTable)
        for (int number = rows.first; number <= rows.last; ++number)
            numbers.insert(number);
    return numbers;
}

std::string description(int number) {
    const char* text = qmio_get_pix_info(number, "descr");
    return text != nullptr ? text : "(null)";
}

std::string tidied(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

// The comments that stand behind their enumerators in FFmpeg's header, by the enumerators' names.
std::map<std::string, std::string> comments_in_header() {
    constexpr const char* prefix = "AV_PIX_FMT_";
    std::map<std::string, std::string> comments;
    std::ifstream header(QMIO_PIXFMT_HEADER);
    for (std::string line; std::getline(header, line);) {
        line.erase(std::remove(line.begin(), line.end(), '\r'), line.end());
        const std::size_t mark = line.find("///<");
        const std::string code = tidied(line.substr(0, mark));
        if (mark == std::string::npos || code.compare(0, 11, prefix) != 0)
            continue;
        const std::size_t end = code.find_first_of(" ,=", 11);
        comments.emplace(code.substr(11, end - 11), tidied(line.substr(mark + 4)));
    }
    return comments;
}

// Those that hosts know by other words than FFmpeg's.
const std::map<int, std::string> kQuoted = {
    {-1, "None"},
    {0, "Planar YUV 4:2:0, 12bpp, (1 Cr & Cb sample per 2x2 Y samples)"},
    {1, "Packed YUV 4:2:2, 16bpp, Y0 Cb Y1 Cr"},
    {30, "Packed RGB 8:8:8, 32bpp, (msb)8A 8R 8G 8B(lsb), in cpu endianness"},
    {8, "Y,  8bpp"},
    {11, "8 bit with PIX_FMT_RGB32 palette"},
    {44, "Packed RGB 5:6:5, 16bpp, (msb)   5R 6G 5B(lsb), in cpu endianness"},
    {295, "packed RGB 8:8:8, 32bpp, 0RGB0RGB..."},
    {327, "bayer, GRGR..(odd line), BGBG..(even line), 16-bit samples, big-endian"},
};

TEST(PixelDescriptions, EndWhereTheirCommentsDo) {
    for (const int number : table()) {
        const std::string text = description(number);
        EXPECT_FALSE(text.ends_with('/') || text.ends_with('*') || text.ends_with(' ')) << number << ": " << text;
    }
}

TEST(PixelDescriptions, KnownTextsComeOutLetterForLetter) {
    for (const auto& [number, text] : kQuoted)
        EXPECT_EQ(description(number), text) << number;
    EXPECT_STREQ(qmio_get_pix_info(44, "DESCR"), kQuoted.at(44).c_str());
}

TEST(PixelDescriptions, TableHas162RowsFor156Formats) {
    int count = 0;
    for (const Rows& rows : kTable)
        count += rows.last - rows.first + 1;
    EXPECT_EQ(count, 162);
    EXPECT_EQ(table().size(), 156U);
}

TEST(PixelDescriptions, ExactlyTheFormatsOfTheTableHaveOne) {
    const std::set<int> numbers = table();
    for (int number = -70000; number < 140000; ++number) {
        const std::string text = description(number);
        if (numbers.count(number) != 0) {
            EXPECT_NE(text, kUnknown) << number;
            EXPECT_GT(text.size(), 3U) << number;
        } else {
            ASSERT_EQ(text, kUnknown) << number;
        }
    }
    EXPECT_EQ(description(INT32_MAX), kUnknown);
    EXPECT_EQ(description(INT32_MIN), kUnknown);
}

// What stands twice has the words of its first row: those of the list's head for 44, 46, 48 and 50.
TEST(PixelDescriptions, FirstRowOfAFormatWins) {
    for (const int number : {44, 46, 48, 50})
        EXPECT_EQ(description(number).compare(0, 6, "Packed"), 0) << number;
    for (const int number : {43, 45, 47, 49})
        EXPECT_EQ(description(number).compare(0, 6, "packed"), 0) << number;
    for (const int number : {89, 90})
        EXPECT_EQ(description(number).compare(0, 6, "planar"), 0) << number;
}

bool is_in_head(int number) {
    return number <= 30 || number == 44 || number == 46 || number == 48 || number == 50;
}

// As the list's head has it: a capital first, nothing before a comma.
std::string in_head(std::string text) {
    for (std::size_t place; (place = text.find(" ,")) != std::string::npos;)
        text.erase(place, 1);
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
}

TEST(PixelDescriptions, AreTheCommentsOfTheInstalledHeader) {
    const std::map<std::string, std::string> comments = comments_in_header();
    ASSERT_GT(comments.size(), 150U);
    std::map<int, std::string> expected;
    const std::set<int> numbers = table();
#define QMIO_EXPECT(number, name)                                                                       \
    if (const auto found = comments.find(#name); numbers.count(number) != 0 && found != comments.end()) \
        expected.emplace(number, is_in_head(number) ? in_head(found->second) : found->second);
#define QMIO_LEAVE_OUT(number, name)
    QMIO_FROZEN_PIXEL_FORMATS(QMIO_EXPECT, QMIO_LEAVE_OUT, QMIO_LEAVE_OUT, QMIO_LEAVE_OUT)
#undef QMIO_EXPECT
#undef QMIO_LEAVE_OUT
    EXPECT_GT(expected.size(), 130U);
    for (const auto& [number, quoted] : kQuoted)
        expected.insert_or_assign(number, quoted);
    for (const auto& [number, text] : expected)
        EXPECT_EQ(description(number), text) << number;
}

TEST(PixelDescriptions, AreOneLineWithoutTheMarksOfComments) {
    for (const int number : table())
        for (const char* mark : {"\n", "\r", "*/", "/*", "//", "<", "  [", "\\"})
            EXPECT_EQ(description(number).find(mark), std::string::npos) << number << ": " << description(number);
}

TEST(PixelDescriptions, FormatsThatFfmpegHasDroppedStillHaveOne) {
    const std::set<int> numbers = table();
#define QMIO_LEAVE_OUT(number, name)
#define QMIO_EXPECT(number, name) EXPECT_EQ(description(number) != kUnknown, numbers.count(number) != 0) << #name;
    QMIO_FROZEN_PIXEL_FORMATS(QMIO_LEAVE_OUT, QMIO_EXPECT, QMIO_EXPECT, QMIO_LEAVE_OUT)
#undef QMIO_EXPECT
#undef QMIO_LEAVE_OUT
}

TEST(PixelDescriptions, LumaClassIsThatOfTheTable) {
    const std::set<int> eight_bit = {0, 4, 5, 6, 7, 12, 13, 14, 25, 26, 33, 34, 35};
    for (int number = -100; number < 70000; ++number) {
        const bool deep = (number >= 54 && number <= 59) || (number >= 69 && number <= 80);
        const intptr_t expected = eight_bit.count(number) != 0 ? 1 : deep ? 2 : 0;
        ASSERT_EQ(reinterpret_cast<intptr_t>(qmio_get_pix_info(number, "luma")), expected) << number;
    }
    EXPECT_EQ(reinterpret_cast<intptr_t>(qmio_get_pix_info(0, "LUMA")), 1);
}

}  // namespace
