// The line that long work shows on a terminal.
#include "progress_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace host {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(ProgressLine, NeverExceedsTheTerminal) {
    for (const Unit unit : {Unit::frames, Unit::milliseconds, Unit::bytes})
        for (const int64_t total : {int64_t{1}, int64_t{500}, int64_t{123456789}, int64_t{1} << 50})
            for (const double part : {0.0, 0.3, 1.0, 1.7})
                for (int width = -1; width < 200; ++width) {
                    const auto done = static_cast<int64_t>(static_cast<double>(total) * part);
                    const std::string line = progress_line({"track 12", unit, done, total, 7.5}, width);
                    EXPECT_LE(static_cast<int>(line.size()), std::max(width, 0)) << line;
                    EXPECT_EQ(line.find_first_of("\r\n\t"), std::string::npos);
                    if (width >= 13) {
                        EXPECT_THAT(line, HasSubstr("%")) << width;
                    }
                }
}

TEST(ProgressLine, TellsLessWhereThereIsLessRoom) {
    const WorkDone state{"convert", Unit::frames, 120, 500, 0.5};
    EXPECT_EQ(progress_line(state, 119),
              "convert  24% [#########...............................] 120/500 frames  240/s  2 s left");
    EXPECT_EQ(progress_line(state, 79),
              "convert  24% [#######.........................] 120/500 frames  240/s  2 s left");
    EXPECT_EQ(progress_line(state, 43), "convert  24% [###..........] 120/500 frames");
    EXPECT_EQ(progress_line(state, 30), "convert  24% [###............]");
    EXPECT_EQ(progress_line(state, 12), "convert  24%");
    EXPECT_EQ(progress_line(state, 4), " 24%");
    EXPECT_EQ(progress_line(state, 0), "");
}

TEST(ProgressLine, UnitsAreThoseOfTheWork) {
    EXPECT_THAT(progress_line({"audio", Unit::milliseconds, 12300, 90000, 2.0}, 119),
                HasSubstr(" 0:12/1:30  6.2x  13 s left"));
    EXPECT_THAT(progress_line({"audio", Unit::milliseconds, 3723000, 7200000, 60.0}, 119),
                HasSubstr(" 1:02:03/2:00:00  62.0x  57 s left"));
    EXPECT_THAT(progress_line({"remux", Unit::bytes, 12300000, 40100000, 1.0}, 119),
                HasSubstr(" 12.3/40.1 MB  12.3 MB/s  3 s left"));
    EXPECT_THAT(progress_line({"remux", Unit::bytes, 100, 900, 0.0}, 119), HasSubstr(" 100/900 bytes"));
    EXPECT_THAT(progress_line({"make", Unit::frames, 10, 100000, 1.0}, 119),
                HasSubstr(" 10/100000 frames  10.0/s  2:46:39 left"));
}

TEST(ProgressLine, TellsNoPaceBeforeThereIsOne) {
    EXPECT_THAT(progress_line({"make", Unit::frames, 0, 100, 5.0}, 119), Not(HasSubstr("/s")));
    EXPECT_THAT(progress_line({"make", Unit::frames, 5, 100, 0.01}, 119), Not(HasSubstr("left")));
}

}  // namespace
}  // namespace host
