#include "platform/text.h"

#include <gtest/gtest.h>

namespace {

using qmio::platform::kCodePageAnsi;
using qmio::platform::kCodePageUtf8;
using qmio::platform::narrow;
using qmio::platform::widen;

TEST(Text, Utf8GoesThereAndBackUnchanged) {
    const std::string text = "plain, Кириллица, 映像, 🎬, e\u0301";
    EXPECT_EQ(narrow(widen(text, kCodePageUtf8), kCodePageUtf8), text);
    EXPECT_EQ(widen("Жук🎬", kCodePageUtf8), L"Жук🎬");
}

TEST(Text, CodePagesHaveTheirOwnBytes) {
    EXPECT_EQ(narrow(L"Жук", 1251), "\xC6\xF3\xEA");
    EXPECT_EQ(widen("\xC6\xF3\xEA", 1251), L"Жук");
    EXPECT_EQ(narrow(L"é€", 1252), "\xE9\x80");
    EXPECT_EQ(widen("\x8A\x6F", 932), L"\u899A");
}

TEST(Text, CodePagesWithNamesOfTheirOwnAreKnownByNumber) {
    EXPECT_EQ(narrow(L"\x0436", 20866), "\xD6");
    EXPECT_EQ(narrow(L"\x0436", 28595), "\xD6");
    EXPECT_EQ(widen("\xA4", 28605), L"\x20AC");
}

TEST(Text, PlainLettersAreTheSameInTheAnsiCodePage) {
    EXPECT_EQ(widen("movie 1.mp4", kCodePageAnsi), L"movie 1.mp4");
    EXPECT_EQ(narrow(L"movie 1.mp4", kCodePageAnsi), "movie 1.mp4");
}

TEST(Text, EmptyTextStaysEmpty) {
    EXPECT_EQ(widen("", 1251), L"");
    EXPECT_EQ(narrow(L"", kCodePageUtf8), "");
}

TEST(Text, AnUnknownCodePageCountsAsUtf8) {
    EXPECT_EQ(widen("Жук", 64999), L"Жук");
    EXPECT_EQ(narrow(L"Жук", 64999), "Жук");
}

TEST(Text, BrokenUtf8IsReplacedAndTheRestKept) {
    const std::wstring wide = widen("a\xFFz\xD0", kCodePageUtf8);
    EXPECT_EQ(wide, L"a\xFFFDz\xFFFD");
    EXPECT_EQ(widen("\xE6\x98", kCodePageUtf8).find_first_not_of(L'\xFFFD'), std::wstring::npos);
    EXPECT_EQ(widen("\xC0\x80tail", kCodePageUtf8).substr(2), L"tail");
}

TEST(Text, WhatACodePageLacksBecomesAQuestionMark) {
    EXPECT_EQ(narrow(L"a\u4E00z", 1251), "a?z");
    EXPECT_EQ(narrow(L"\u4E00", 1252), "?");
}

TEST(Text, HalfACharacterIsReplacedInUtf8) {
    const std::wstring lone_surrogate = {L'a', static_cast<wchar_t>(0xD800), L'z'};
    EXPECT_EQ(narrow(lone_surrogate, kCodePageUtf8), "a\xEF\xBF\xBDz");
}

TEST(Text, ATextOfAnyLengthIsConvertedWhole) {
    std::wstring wide;
    for (int i = 0; i < 5000; ++i)
        wide += L"Ж\u4E00";
    const std::string text = narrow(wide, kCodePageUtf8);
    EXPECT_EQ(text.size(), 5000u * 5);
    EXPECT_EQ(widen(text, kCodePageUtf8), wide);
}

}  // namespace
