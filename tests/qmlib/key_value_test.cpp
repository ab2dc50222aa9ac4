// Lists of key=value items, as in the query of an FTP address.
#include "qmlib/key_value.h"

#include <gtest/gtest.h>

namespace {

constexpr std::string_view kSeparators = "& \t\r\n";

std::optional<std::string_view> find(std::string_view text, std::string_view key) {
    return qmio::qmlib::find_key(text, kSeparators, '=', key);
}

TEST(KeyValue, GivesTheValueOfAKey) {
    EXPECT_EQ(find("a=1&passive=yes&b=2", "passive"), "yes");
    EXPECT_EQ(find("passive=yes", "passive"), "yes");
}

TEST(KeyValue, ABareKeyIsPresentAndEmpty) {
    EXPECT_EQ(find("passive", "passive"), "");
    EXPECT_EQ(find("a=1&passive&b", "passive"), "");
    EXPECT_EQ(find("passive=", "passive"), "");
}

TEST(KeyValue, AnyOfTheSeparatorsEndsAnItem) {
    for (const std::string_view text : {"a&passive=1&b", "a passive=1 b", "a\tpassive=1\tb", "a\rpassive=1\nb"})
        EXPECT_EQ(find(text, "passive"), "1") << text;
}

TEST(KeyValue, KeysAreComparedExactly) {
    for (const std::string_view text : {"PASSIVE=1", "Passive", "passive2", "xpassive", "", "&", "x=passive"})
        EXPECT_EQ(find(text, "passive"), std::nullopt) << text;
}

TEST(KeyValue, TheFirstOfTwoEqualKeysWins) {
    EXPECT_EQ(find("k=1&k=2", "k"), "1");
}

TEST(KeyValue, OnlyTheFirstAssignmentSplits) {
    EXPECT_EQ(find("k=a=b", "k"), "a=b");
}

TEST(KeyValue, EmptyItemsAreNoKeys) {
    EXPECT_EQ(find("&&a=1&&", ""), std::nullopt);
}

}  // namespace
