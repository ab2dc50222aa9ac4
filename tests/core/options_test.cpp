#include "core/text/options.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string_view>
#include <utility>
#include <vector>

namespace qmio {
namespace {

using Pair = std::pair<std::string, std::string>;
using Pairs = std::vector<Pair>;

Pairs pairs_of(const char* options) {
    Pairs pairs;
    for (const Option& option : Options(options))
        pairs.emplace_back(option.key, option.value);
    return pairs;
}

// The grammar once more, over indices into a string, to compare with.
class Model {
  public:
    explicit Model(std::string text) : text_(std::move(text)) {}

    Pairs pairs() {
        Pairs all;
        while (at_ < text_.size())
            if (Pair next = pair(); !next.first.empty())
                all.push_back(std::move(next));
        return all;
    }

  private:
    static std::string cut(std::string text) { return text.substr(0, 511); }
    bool at_any_of(const char* set) const { return text_.find_first_of(set, at_) == at_; }
    void pass_over(const char* set) { at_ = std::min(text_.find_first_not_of(set, at_), text_.size()); }
    std::string take_until(const char* set) {
        const size_t end = std::min(text_.find_first_of(set, at_), text_.size());
        std::string taken = text_.substr(at_, end - at_);
        at_ = end;
        return taken;
    }

    Pair pair() {
        pass_over(" \t\r\n");
        while (at_any_of("#/;")) {
            take_until("\r\n");
            pass_over("\r\n");
        }
        pass_over(" \t");
        const std::string key = cut(take_until("=\t\n ,"));
        pass_over(" \t=");
        std::string value;
        if (at_any_of("\"")) {
            ++at_;
            value = cut(take_until("\""));
            at_ = std::min(at_ + 1, text_.size());
        } else {
            value = cut(take_until("\t\n ,"));
        }
        pass_over(" \t");
        if (at_any_of(",\n"))
            ++at_;
        return {key, value};
    }

    std::string text_;
    size_t at_ = 0;
};

// The text in a block without a byte to spare, so that a sanitizer sees every byte read beyond its NUL.
std::unique_ptr<char[]> exact_copy(const std::string& text) {
    auto copy = std::make_unique<char[]>(text.size() + 1);
    std::memcpy(copy.get(), text.c_str(), text.size() + 1);
    return copy;
}

struct GrammarCase {
    const char* text;
    Pairs pairs;
};

TEST(OptionString, TextsSplitIntoTheirPairs) {
    const GrammarCase cases[] = {
        {"", {}},
        {"a=1", {{"a", "1"}}},
        {"a=1,b=2", {{"a", "1"}, {"b", "2"}}},
        {"a=1 b=2", {{"a", "1"}, {"b", "2"}}},
        {"a=1\tb=2", {{"a", "1"}, {"b", "2"}}},
        {"a=1\nb=2", {{"a", "1"}, {"b", "2"}}},
        {"a = 1 , b\t=\t2", {{"a", "1"}, {"b", "2"}}},
        {"a 1,b 2", {{"a", "1"}, {"b", "2"}}},
        {"a==1", {{"a", "1"}}},
        {"a,b", {{"a", ""}, {"b", ""}}},
        {"a=,b=2", {{"a", ""}, {"b", "2"}}},
        {"a\nb=2", {{"a", ""}, {"b", "2"}}},
        {"a=\nb=2", {{"a", ""}, {"b", "2"}}},
        {"=1", {}},
        {"a=1,", {{"a", "1"}}},
        {"a=1,,b=2", {{"a", "1"}, {"b", "2"}}},
        {"  \t\r\na=1", {{"a", "1"}}},
        {"a=1 ", {{"a", "1"}}},
        {"a=1, ", {{"a", "1"}}},
        {"A=1,a=2", {{"A", "1"}, {"a", "2"}}},
        {"b:v=2M", {{"b:v", "2M"}}},
        {"r=30000/1001", {{"r", "30000/1001"}}},
        {"a=x=y", {{"a", "x=y"}}},
        {"a=\"x, y\",b=2", {{"a", "x, y"}, {"b", "2"}}},
        {"a=\"x\ny\" b=2", {{"a", "x\ny"}, {"b", "2"}}},
        {"a=\"\",b=2", {{"a", ""}, {"b", "2"}}},
        {"a=\"x\"b=2", {{"a", "x"}, {"b", "2"}}},
        {"a=\"open", {{"a", "open"}}},
        {"a=\"", {{"a", ""}}},
        {"a=x\"y,b=2", {{"a", "x\"y"}, {"b", "2"}}},
        {"a=1\r\nb=2", {{"a", "1\r"}, {"b", "2"}}},
        {"a\r=1", {{"a\r", "1"}}},
        {"#x=1\na=1", {{"a", "1"}}},
        {"/x=1\r\n;y=2\n\n# z\na=1", {{"a", "1"}}},
        {"a=1\n#b=2\nc=3", {{"a", "1"}, {"c", "3"}}},
        {"a=1,#b=2\nc=3", {{"a", "1"}, {"c", "3"}}},
        {"a=#1", {{"a", "#1"}}},
        {"#only", {}},
        {"#c\n  a=1", {{"a", "1"}}},
        {"#c\n  #a=1", {{"#a", "1"}}},
        {"#c\n \na=1", {{"a", "1"}}},
    };
    for (const GrammarCase& sample : cases)
        EXPECT_EQ(pairs_of(sample.text), sample.pairs) << testing::PrintToString(sample.text);
}

TEST(OptionString, NoTextHasNoPairsAndIsNotAnEmptyOne) {
    EXPECT_TRUE(pairs_of(nullptr).empty());
    EXPECT_EQ(Options(nullptr).text(), nullptr);
    EXPECT_STREQ(Options("").text(), "");
    EXPECT_STREQ(Options("a=1, b=2").text(), "a=1, b=2");
}

TEST(OptionString, LongKeysAndValuesAreCutAndTheirRestSkipped) {
    const std::string fits(511, 'k');
    const std::string longer(2000, 'k');
    EXPECT_EQ(pairs_of((fits + "=" + fits + ",b=2").c_str()), (Pairs{{fits, fits}, {"b", "2"}}));
    EXPECT_EQ(pairs_of((longer + "=" + longer + ",b=2").c_str()), (Pairs{{fits, fits}, {"b", "2"}}));
    EXPECT_EQ(pairs_of(("a=\"" + longer + ",x\",b=2").c_str()), (Pairs{{"a", fits}, {"b", "2"}}));
}

TEST(OptionString, RandomTextsSplitLikeTheModel) {
    constexpr std::string_view letters = "ab=,\" \t\r\n#;/:\xd0i7";
    const unsigned seed = 20240305;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % 40, '\0');
        for (char& letter : text)
            letter = letters[random() % letters.size()];
        if (round % 500 == 0)
            text.insert(text.size() / 2, std::string(600 + random() % 400, letters[random() % letters.size()]));
        const auto copy = exact_copy(text);
        ASSERT_EQ(pairs_of(copy.get()), Model(text).pairs()) << testing::PrintToString(text);
    }
}

TEST(OptionString, RandomBytesReachTheirEnd) {
    const unsigned seed = 77;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 5000; ++round) {
        std::string text(random() % 1500, '\0');
        for (char& letter : text)
            letter = static_cast<char>(1 + random() % 255);
        const auto copy = exact_copy(text);
        ASSERT_EQ(pairs_of(copy.get()), Model(text).pairs());
        read_number(copy.get());
        read_integer(copy.get());
    }
}

TEST(OptionString, TheFirstPairWithExactlyTheKeyIsFound) {
    const Options options("ab=1,a=2,a=3,x,strict:v=experimental,bare");
    EXPECT_EQ(*options.find("a"), "2");
    EXPECT_EQ(*options.find("ab"), "1");
    EXPECT_EQ(*options.find("strict:v"), "experimental");
    EXPECT_EQ(*options.find("bare"), "");
}

TEST(OptionString, WhatIsNotThereIsNotFound) {
    EXPECT_EQ(Options("a=1").find("A"), nullptr);
    EXPECT_EQ(Options("abc=1").find("ab"), nullptr);
    EXPECT_EQ(Options("=1").find(""), nullptr);
    EXPECT_EQ(Options("").find("a"), nullptr);
    EXPECT_EQ(Options(nullptr).find("a"), nullptr);
}

TEST(OptionString, NumbersAreFoundByTheirKey) {
    EXPECT_EQ(Options("b:a=128k,ab=64k").number("ab"), 64000);
    EXPECT_EQ(Options("b:a=128k,ab=64k").number("b:a"), 128000);
    EXPECT_EQ(Options("ab=1,ab=2").number("ab"), 1);
    EXPECT_EQ(Options("b:a=128k").number("ab"), 0);
    EXPECT_EQ(Options(nullptr).number("ab"), 0);
}

TEST(OptionNumber, LettersMultiply) {
    EXPECT_EQ(read_number("128k"), 128000);
    EXPECT_EQ(read_number("1Mi"), 1048576);
    EXPECT_EQ(read_number("2KB"), 16);
    EXPECT_EQ(read_number("1kB"), 8000);
    EXPECT_EQ(read_number("2ki"), 2048);
    EXPECT_EQ(read_number("1G"), 1000000000);
    EXPECT_EQ(read_number("1Gi"), 1073741824);
    EXPECT_EQ(read_number("2kM"), 2000000000);
    EXPECT_EQ(read_number("2.5M"), 2500000);
    EXPECT_EQ(read_number("3 bits"), 3);
}

TEST(OptionNumber, FractionsAreCutBeforeBytesBecomeBits) {
    EXPECT_EQ(read_number("1.9"), 1);
    EXPECT_EQ(read_number("-1.9"), -1);
    EXPECT_EQ(read_number("1.9B"), 8);
    EXPECT_EQ(read_number("1.0009k"), 1000);
}

TEST(OptionNumber, DecimalNotationInAllItsForms) {
    EXPECT_EQ(read_number("  42"), 42);
    EXPECT_EQ(read_number("+42"), 42);
    EXPECT_EQ(read_number("-42"), -42);
    EXPECT_EQ(read_number("1e3"), 1000);
    EXPECT_EQ(read_number(".5k"), 500);
    EXPECT_EQ(read_number("0x10"), 0);
    EXPECT_EQ(read_number("+-42"), 0);
}

TEST(OptionNumber, WhatIsNoNumberIsZero) {
    for (const char* text : {"", "k", "abc", "nan", "inf", "-inf", "infinity", "NAN(1)", "-", "+", "."})
        EXPECT_EQ(read_number(text), 0) << text;
}

TEST(OptionNumber, WhatDoesNotFitEndsAtTheLimits) {
    constexpr int32_t most = std::numeric_limits<int32_t>::max();
    constexpr int32_t least = std::numeric_limits<int32_t>::min();
    EXPECT_EQ(read_number("2147483647"), most);
    EXPECT_EQ(read_number("2147483648"), most);
    EXPECT_EQ(read_number("-2147483648"), least);
    EXPECT_EQ(read_number("-2147483649"), least);
    EXPECT_EQ(read_number("3G"), most);
    EXPECT_EQ(read_number("-3G"), least);
    EXPECT_EQ(read_number("1GB"), most);
    EXPECT_EQ(read_number("-1GB"), least);
    EXPECT_EQ(read_number("1e300kMG"), most);
    EXPECT_EQ(read_number("1e999"), most);
    EXPECT_EQ(read_number("-1e999"), least);
    EXPECT_EQ(read_number("1e-999"), 0);
    EXPECT_EQ(read_number(std::string(400, '9')), most);
    EXPECT_EQ(read_number("0." + std::string(400, '0') + "1"), 0);
}

TEST(OptionNumber, TheHostsLocaleChangesNothing) {
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    bool found = false;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "German", "C"})
        found = found || std::setlocale(LC_NUMERIC, name) != nullptr;
    EXPECT_TRUE(found);
    EXPECT_EQ(read_number("1.5k"), 1500);
    EXPECT_EQ(read_number("1,5k"), 1000);
    std::setlocale(LC_NUMERIC, before.c_str());
}

TEST(OptionNumber, WholeNumbersStandAtTheStartOfTheText) {
    EXPECT_EQ(read_integer("30000/1001"), 30000);
    EXPECT_EQ(read_integer(" -2"), -2);
    EXPECT_EQ(read_integer("+7x"), 7);
    EXPECT_EQ(read_integer("16k"), 16);
    EXPECT_EQ(read_integer("experimental"), 0);
    EXPECT_EQ(read_integer(""), 0);
    EXPECT_EQ(read_integer("99999999999"), std::numeric_limits<int32_t>::max());
    EXPECT_EQ(read_integer("-99999999999"), std::numeric_limits<int32_t>::min());
}

}  // namespace
}  // namespace qmio
