#include "wrapped.h"

#include <gtest/gtest.h>

#include <sstream>

namespace host {
namespace {

const char kHelp[] =
    "Usage: qmio [OPTIONS] FILE\n\n"
    "  --count INT                 Number of frames that are taken from the file\n"
    "      what is in a file, told at some length\n";

TEST(WrappedText, StaysAsItIsWhereItFits) {
    EXPECT_EQ(wrapped(kHelp, 120), kHelp);
}

TEST(WrappedText, GoesOnBelowTheColumnThatWasTooLong) {
    EXPECT_EQ(wrapped("  --count INT                 Number of frames of the file\n", 45),
              "  --count INT                 Number of\n      frames of the file\n");
    EXPECT_EQ(wrapped("  --count INT     Number of frames of the file\n", 41),
              "  --count INT     Number of frames of\n                  the file\n");
}

TEST(WrappedText, GoesOnBelowAColumnOfItsOwn) {
    EXPECT_EQ(wrapped("            Number of frames of the file\n", 34),
              "            Number of frames of\n            the file\n");
}

TEST(WrappedText, FitsIntoEveryWidth) {
    for (const int columns : {30, 44, 60, 80}) {
        std::istringstream lines(wrapped(kHelp, columns));
        for (std::string line; std::getline(lines, line);)
            EXPECT_LT(line.size(), static_cast<std::size_t>(columns)) << line;
    }
}

TEST(WrappedText, LosesNoWord) {
    const auto words = [](const std::string& text) {
        std::istringstream stream(text);
        std::string joined;
        for (std::string word; stream >> word;)
            joined += word + " ";
        return joined;
    };
    for (int columns = 1; columns < 90; ++columns)
        EXPECT_EQ(words(wrapped(kHelp, columns)), words(kHelp)) << columns;
}

TEST(WrappedText, LeavesAWordWholeThatIsTooLong) {
    EXPECT_EQ(wrapped("aaaaaaaaaaaaaaaa bb\n", 8), "aaaaaaaaaaaaaaaa\nbb\n");
}

}  // namespace
}  // namespace host
