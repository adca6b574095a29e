#include "OnDoubles.h"
#include "support/Rounds.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

class TCFStringNumbersTest : public OnDoubles {};

constexpr unsigned char kGood = 1, kBad = 0, kUnset = 0xEE;

template <typename Number>
using Parsed = std::pair<Number, unsigned char>;

Parsed<long> LongOf(const std::u16string& inText, long inBase = 10) {
    unsigned char isGood = kUnset;
    const long number = Units(inText).ToLong(inBase, &isGood);
    return {number, isGood};
}
Parsed<long long> LongLongOf(const std::u16string& inText, long inBase = 10) {
    unsigned char isGood = kUnset;
    const long long number = Units(inText).ToLongLong(inBase, &isGood).LongLong();
    return {number, isGood};
}
Parsed<double> DoubleOf(const std::u16string& inText) {
    unsigned char isGood = kUnset;
    const double number = Units(inText).ToDouble(&isGood);
    return {number, isGood};
}

struct Row {
    const char16_t* text;
    long base;
    long number;
    unsigned char isGood;
};
constexpr Row kRows[] = {
    {u"42", 10, 42, kGood},
    {u" 42", 10, 42, kGood},
    {u"\t\n 42", 10, 42, kGood},
    {u"42 ", 10, 42, kBad},
    {u"42x", 10, 42, kBad},
    {u"4.2", 10, 4, kBad},
    {u"x42", 10, 0, kBad},
    {u"-7", 10, -7, kGood},
    {u"+7", 10, 7, kGood},
    {u"- 7", 10, 0, kBad},
    {u"", 10, 0, kGood},
    {u" ", 10, 0, kBad},
    {u"-", 10, 0, kBad},
    {u"0", 10, 0, kGood},
    {u"007", 10, 7, kGood},
    {u"0x1F", 0, 31, kGood},
    {u"0x1F", 10, 0, kBad},
    {u"0x1F", 16, 31, kGood},
    {u"1f", 16, 31, kGood},
    {u"017", 0, 15, kGood},
    {u"17", 0, 17, kGood},
    {u"18", 8, 1, kBad},
    {u"1010", 2, 10, kGood},
    {u"zz", 36, 35 * 36 + 35, kGood},
    {u"2147483647", 10, 2147483647, kGood},
    {u"-2147483648", 10, -2147483647 - 1, kGood},
    {u"\u00E9", 10, 0, kBad},
    {u"12\u00E9", 10, 12, kBad},
};

TEST_F(TCFStringNumbersTest, ToLong) {
    for (const Row& row : kRows)
        EXPECT_EQ(Parsed<long>(row.number, row.isGood), LongOf(row.text, row.base))
            << UnitsOf(Units(row.text)).size() << " units, " << row.number;
}

TEST_F(TCFStringNumbersTest, ToLongLong) {
    for (const Row& row : kRows)
        EXPECT_EQ(Parsed<long long>(row.number, row.isGood), LongLongOf(row.text, row.base))
            << UnitsOf(Units(row.text)).size() << " units, " << row.number;
    EXPECT_EQ(Parsed<long long>(9223372036854775807, kGood), LongLongOf(u"9223372036854775807"));
    EXPECT_EQ(Parsed<long long>(-4294967297, kGood), LongLongOf(u"-4294967297"));
}

TEST_F(TCFStringNumbersTest, BeyondTheTypeTheNearest) {
    EXPECT_EQ(Parsed<long>(std::numeric_limits<long>::max(), kGood), LongOf(u"99999999999999999999"));
    EXPECT_EQ(Parsed<long>(std::numeric_limits<long>::min(), kGood), LongOf(u"-99999999999999999999"));
    EXPECT_EQ(Parsed<long long>(std::numeric_limits<long long>::max(), kGood),
              LongLongOf(u"9223372036854775808"));
    EXPECT_EQ(Parsed<long long>(std::numeric_limits<long long>::min(), kGood),
              LongLongOf(u"-9223372036854775809"));
}

TEST_F(TCFStringNumbersTest, ABaseThatIsNone) {
    for (const long base : {1L, 37L, -2L, 100L}) {
        EXPECT_EQ(Parsed<long>(0, kBad), LongOf(u"42", base)) << base;
        EXPECT_EQ(Parsed<long>(0, kGood), LongOf(u"", base)) << base;
        EXPECT_EQ(Parsed<long long>(0, kBad), LongLongOf(u"42", base)) << base;
    }
}

TEST_F(TCFStringNumbersTest, WhetherItIsGoodNeedNotBeAsked) {
    EXPECT_EQ(42, Units(u"42").ToLong(10, nullptr));
    EXPECT_EQ(42, Units(u"42x").ToLongLong(10, nullptr).LongLong());
    EXPECT_EQ(42.0, Units(u"42").ToDouble(nullptr));
}

TEST_F(TCFStringNumbersTest, TheFirst255Bytes) {
    EXPECT_EQ(Parsed<long>(7, kGood), LongOf(std::u16string(254, u'0') + u"7"));
    EXPECT_EQ(Parsed<long>(7, kGood), LongOf(std::u16string(254, u'0') + u"7x")) << "cut before the x";
    EXPECT_EQ(Parsed<long>(0, kGood), LongOf(std::u16string(255, u'0') + u"7")) << "cut before the 7";
    EXPECT_TRUE(WasCalled(fakes::CallText("CFStringGetCString", 256, kCFStringEncodingUTF8)));
}

TEST_F(TCFStringNumbersTest, WhatNoEncodingHoldsIsNoNumber) {
    unsigned char isGood = kUnset;
    EXPECT_EQ(0, Unencodable().ToLong(36, &isGood));
    EXPECT_EQ(kBad, isGood);
    EXPECT_EQ(Parsed<long>(0, kBad), LongOf(std::u16string(1024, u'0'))) << "beyond the room of CString";
}

TEST_F(TCFStringNumbersTest, ToDoubleDropsTheFraction) {
    EXPECT_EQ(Parsed<double>(3.0, kGood), DoubleOf(u"3.75"));
    EXPECT_EQ(Parsed<double>(-2.0, kGood), DoubleOf(u"-2.9"));
    EXPECT_EQ(Parsed<double>(1500.0, kGood), DoubleOf(u"1.5e3"));
    EXPECT_EQ(Parsed<double>(0.0, kGood), DoubleOf(u"0.999"));
    EXPECT_FALSE(std::signbit(DoubleOf(u"-0.5").first));
    EXPECT_EQ(Parsed<double>(31.0, kGood), DoubleOf(u"0x1F"));
    EXPECT_EQ(Parsed<double>(2251799813685249.0, kGood), DoubleOf(u"2251799813685249.5"));
}

TEST_F(TCFStringNumbersTest, ToDoubleIsGoodToTheEndOnly) {
    EXPECT_EQ(Parsed<double>(3.0, kBad), DoubleOf(u"3.75 "));
    EXPECT_EQ(Parsed<double>(3.0, kGood), DoubleOf(u" 3.75"));
    EXPECT_EQ(Parsed<double>(0.0, kGood), DoubleOf(u""));
    EXPECT_EQ(Parsed<double>(0.0, kBad), DoubleOf(u"x"));
    EXPECT_EQ(Parsed<double>(1.0, kBad), DoubleOf(u"1,5"));
}

TEST_F(TCFStringNumbersTest, ToDoubleBeyondTheTypesRange) {
    EXPECT_EQ(Parsed<double>(9223372036854775807.0, kGood), DoubleOf(u"1e400"));
    EXPECT_EQ(Parsed<double>(-9223372036854775808.0, kGood), DoubleOf(u"-1e+400"));
    EXPECT_EQ(Parsed<double>(0.0, kGood), DoubleOf(u"1e-400"));
    EXPECT_EQ(Parsed<double>(0.0, kGood), DoubleOf(u"-1e-400"));
    EXPECT_EQ(Parsed<double>(9223372036854775807.0, kGood), DoubleOf(u"0x1p5000"));
    EXPECT_EQ(Parsed<double>(0.0, kGood), DoubleOf(u"0x1p-5000"));
    EXPECT_EQ(Parsed<double>(9223372036854775807.0, kGood), DoubleOf(std::u16string(255, u'9')));
    EXPECT_EQ(Parsed<double>(0.0, kGood), DoubleOf(u"0." + std::u16string(252, u'0') + u"1"));
}

// The tests' program has the locale "C", where strtod is what is promised.
TEST_F(TCFStringNumbersTest, ToDoubleReadsAsFarAsStrtod) {
    std::vector<std::string> texts = {
        "+1",    "--1",   "+-1",      "-+1",      "-",      "+",      ".",          "-.5",  "5.",   "1e",
        "1e+",   "1e-x",  "0x",       "0x.",      "0x.8p1", "0x-1",   "0X1",        "0x1p", "-0x1", "INF",
        "inFin", "nan()", "infinity", "nan(1_a)", "0xnan",  "-0XINF", "0xInfinity", "0X"};
    constexpr char kCharacters[] = "0011259..+-eExXpPinfaA \t";
    std::mt19937 random(11);
    for (int i = 0, count = support::Rounds(20000); i < count; ++i) {
        std::string& text = texts.emplace_back(random() % 9 + 1, '\0');
        for (char& character : text)
            character = kCharacters[random() % (sizeof kCharacters - 1)];
    }
    int goodCount = 0;
    for (const std::string& text : texts) {
        char* end = nullptr;
        const double number = std::trunc(std::strtod(text.c_str(), &end));
        const auto [read, isGood] = DoubleOf(std::u16string(text.begin(), text.end()));
        EXPECT_EQ(*end == '\0' ? kGood : kBad, isGood) << text;
        if (std::abs(number) < 9e18) {
            EXPECT_EQ(number, read) << text;
        }
        goodCount += isGood;
    }
    EXPECT_GT(goodCount, 500) << "else this compares little";
}

TEST_F(TCFStringNumbersTest, ToDoubleBeyond64Bits) {
    EXPECT_EQ(Parsed<double>(9223372036854775807.0, kGood), DoubleOf(u"1e300"));
    EXPECT_EQ(Parsed<double>(-9223372036854775808.0, kGood), DoubleOf(u"-1e300"));
    EXPECT_EQ(Parsed<double>(9223372036854775807.0, kGood), DoubleOf(u"9223372036854775808"));
    EXPECT_EQ(Parsed<double>(9223372036854774784.0, kGood), DoubleOf(u"9223372036854774784"));
    EXPECT_EQ(Parsed<double>(-9223372036854775808.0, kGood), DoubleOf(u"-9223372036854775808"));
    EXPECT_EQ(Parsed<double>(9223372036854775807.0, kGood), DoubleOf(u"inf"));
    EXPECT_EQ(Parsed<double>(-9223372036854775808.0, kGood), DoubleOf(u"-inf"));
    EXPECT_EQ(Parsed<double>(0.0, kGood), DoubleOf(u"nan"));
}

}  // namespace
