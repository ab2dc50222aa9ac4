// Print formats in Microsoft's sense, filled in with arguments of any fitting type.
#include "qmlib/print_format.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

using namespace qmio::qmlib;

template <class... Arguments>
std::string print(std::type_identity_t<Format<Arguments...>> format, const Arguments&... arguments) {
    const FormatArgument list[] = {FormatArgument::of(arguments)..., FormatArgument{ArgumentKind::address}};
    return format_text(format.text(), std::span(list, sizeof...(arguments)));
}

// What the compiler would say to a literal with arguments of these types.
template <class... Arguments>
constexpr bool fits(std::wstring_view format) {
    const ArgumentKind kinds[] = {argument_kind<Arguments>()..., ArgumentKind::address};
    return format_fits(format, std::span(kinds, sizeof...(Arguments)));
}

TEST(PrintFormat, WritesIntegersOf32Bits) {
    EXPECT_EQ(print(L"%d %i %u", -5, 7, 8u), "-5 7 8");
    EXPECT_EQ(print(L"%x %X %o", 255, 255, 8), "ff FF 10");
    EXPECT_EQ(print(L"%d", std::numeric_limits<int32_t>::min()), "-2147483648");
}

TEST(PrintFormat, UnsignedConversionsOfNegativeNumbersStayWithin32Bits) {
    EXPECT_EQ(print(L"%u", -1), "4294967295");
    EXPECT_EQ(print(L"%X", static_cast<int16_t>(-1)), "FFFFFFFF");
    EXPECT_EQ(print(L"%d", std::numeric_limits<uint32_t>::max()), "-1");
}

TEST(PrintFormat, WritesIntegersOf64Bits) {
    EXPECT_EQ(print(L"%I64d", std::numeric_limits<int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(print(L"%I64u", std::numeric_limits<uint64_t>::max()), "18446744073709551615");
    EXPECT_EQ(print(L"%I64x|%016I64X", int64_t{0xabcdef0123}, int64_t{0xabcdef0123}), "abcdef0123|000000ABCDEF0123");
}

TEST(PrintFormat, TakesEnumerationsBoolsAndSmallIntegers) {
    enum class Small : uint8_t { three = 3 };
    EXPECT_EQ(print(L"%d %d %d", Small::three, true, int16_t{-2}), "3 1 -2");
}

TEST(PrintFormat, ObeysWidthPrecisionAndFlags) {
    EXPECT_EQ(print(L"%02.2d|%03.3d|%08.8X", 5, 45, 0xbeef), "05|045|0000BEEF");
    EXPECT_EQ(print(L"[%5d][%-5d][%+d][% d][%#x][%05d]", 42, 42, 42, 42, 42, 42),
              "[   42][42   ][+42][ 42][0x2a][00042]");
}

TEST(PrintFormat, WideTextIsLowerSAndNarrowTextUpperS) {
    EXPECT_EQ(print(L"%s and %S", L"wide", "narrow"), "wide and narrow");
    EXPECT_EQ(print(L"%s and %S", std::wstring(L"wide"), std::string("narrow")), "wide and narrow");
    char buffer[8] = "array";
    EXPECT_EQ(print(L"%S", buffer), "array");
}

TEST(PrintFormat, TextComesOutAsUtf8) {
    EXPECT_EQ(print(L"%s-%S-\u00e9", L"\u043f\u0440\u0438", "\xd0\xb2\xd0\xb5\xd1\x82"),
              "\xd0\xbf\xd1\x80\xd0\xb8-\xd0\xb2\xd0\xb5\xd1\x82-\xc3\xa9");
}

TEST(PrintFormat, NullTextPrintsAsNull) {
    EXPECT_EQ(print(L"%s %S", static_cast<const wchar_t*>(nullptr), static_cast<const char*>(nullptr)),
              "(null) (null)");
    EXPECT_EQ(print(L"[%s][%S]", std::wstring(), std::string()), "[][]");
}

TEST(PrintFormat, WidthAndPrecisionOfTextCountCharacters) {
    EXPECT_EQ(print(L"[%4.4S][%4.4S][%-4S]", "avc1+", "ab", "x"), "[avc1][  ab][x   ]");
    EXPECT_EQ(print(L"[%3.2s]", L"\u043f\u0440\u0438"), "[ \xd0\xbf\xd1\x80]");
}

TEST(PrintFormat, AddressesAreSixteenDigits) {
    EXPECT_EQ(print(L"%p", reinterpret_cast<int*>(uintptr_t{0x12ab})), "00000000000012AB");
    EXPECT_EQ(print(L"%p", nullptr), "0000000000000000");
    const char* text = "not printed";
    EXPECT_EQ(print(L"%p", text), print(L"%p", static_cast<const void*>(text)));
}

TEST(PrintFormat, WritesCharactersAndPercentSigns) {
    EXPECT_EQ(print(L"%c%c 100%%", 'a', L'\u044f'), "a\xd1\x8f 100%");
}

TEST(PrintFormat, RefusesArgumentsThatDisagree) {
    static_assert(fits<int, const wchar_t*>(L"%d %s"));
    static_assert(!fits<const char*>(L"%s"));
    static_assert(!fits<const wchar_t*>(L"%S"));
    static_assert(!fits<int64_t>(L"%d"));
    static_assert(!fits<int>(L"%I64d"));
    static_assert(!fits<int>(L"%s"));
    static_assert(!fits<int>(L"%p"));
    static_assert(!fits<const char*>(L"%d"));
    static_assert(!fits<int, int>(L"%d"));
    static_assert(!fits<int>(L"%d %d"));
    static_assert(!fits<int>(L"%*d"));
    static_assert(!fits<int>(L"%n"));
    static_assert(!fits<int>(L"%"));
}

// Only a format that was not checked can get here.
TEST(PrintFormat, UncheckedDisagreementPrintsWhatFits) {
    const FormatArgument list[] = {FormatArgument::of(5)};
    EXPECT_EQ(format_text(L"[%s] [%d]", list), "[] []");
}

TEST(PrintFormat, HugeFieldsAreBounded) {
    EXPECT_LE(print(L"%999999999d", 1).size(), 300u);
    EXPECT_LE(print(L"%.999999999d", 1).size(), 300u);
    EXPECT_LE(print(L"%999999999S", "x").size(), 300u);
}

}  // namespace
