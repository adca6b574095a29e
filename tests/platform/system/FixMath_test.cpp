#include <gtest/gtest.h>
#include <toolbox/FixMath.h>

#include <cmath>
#include <limits>

namespace {

constexpr Fixed kMax = std::numeric_limits<Fixed>::max();
constexpr Fixed kSmallest = std::numeric_limits<Fixed>::min();

}  // namespace

TEST(FixRatio, Table) {
    struct Row {
        SInt16 numerator;
        SInt16 denominator;
        Fixed expected;
    };
    constexpr Row kRows[] = {
        {0, 1, 0},
        {1, 1, 0x10000},
        {-1, 1, -0x10000},
        {1, -1, -0x10000},
        {-1, -1, 0x10000},
        {1, 2, 0x8000},
        {3, 2, 0x18000},
        {1, 3, 0x5555},
        {2, 3, 0xAAAB},
        {-1, 3, -0x5555},
        {-2, 3, -0xAAAB},
        {1, 32767, 2},
        {1, -32768, -2},
        {32767, 1, 0x7FFF0000},
        {-32768, 1, kSmallest},
        {22050, 1, 0x56220000},
        {-32768, -32768, 0x10000},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(row.expected, FixRatio(row.numerator, row.denominator))
            << row.numerator << "/" << row.denominator;
    }
}

// A rate above 32767 Hz arrives as a negative number, and must leave with the bits of the rate.
TEST(FixRatio, RateThatDoesNotFitASignedNumber) {
    EXPECT_EQ(0xAC440000U, static_cast<UInt32>(FixRatio(-21436, 1)));
    EXPECT_EQ(0xBB800000U, static_cast<UInt32>(FixRatio(static_cast<SInt16>(48000), 1)));
    EXPECT_EQ(0xFFFF0000U, static_cast<UInt32>(FixRatio(static_cast<SInt16>(65535), 1)));
}

TEST(FixRatio, ZeroDenominator) {
    EXPECT_EQ(kMax, FixRatio(1, 0));
    EXPECT_EQ(kMax, FixRatio(32767, 0));
    EXPECT_EQ(kMax, FixRatio(0, 0));
    EXPECT_EQ(kSmallest, FixRatio(-1, 0));
    EXPECT_EQ(kSmallest, FixRatio(-32768, 0));
}

TEST(FixRatio, QuotientThatDoesNotFit) {
    EXPECT_EQ(kMax, FixRatio(-32768, -1));
}

TEST(FixRatio, EveryDenominatorRoundsToNearest) {
    for (int denominator = -32768; denominator <= 32767; ++denominator) {
        if (denominator == 0) continue;
        for (const int numerator : {-32768, -12345, -1, 0, 1, 7, 21436, 32767}) {
            const double exact = 65536.0 * numerator / denominator;
            if (exact > kMax) continue;
            const Fixed ratio = FixRatio(static_cast<SInt16>(numerator), static_cast<SInt16>(denominator));
            ASSERT_LE(std::abs(ratio - exact), 0.5) << numerator << "/" << denominator;
        }
    }
}
