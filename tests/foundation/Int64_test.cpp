#include "fakes/Movies.h"

#include <foundation/Int64.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <type_traits>

namespace {

// The set of operators stays as it is: whether these compile is part of the interface.
template <typename T, typename = void>
struct HasEqual : std::false_type {};
template <typename T>
struct HasEqual<T, std::void_t<decltype(std::declval<T>() == std::declval<T>())>> : std::true_type {};
template <typename T, typename = void>
struct HasNotEqual : std::false_type {};
template <typename T>
struct HasNotEqual<T, std::void_t<decltype(std::declval<T>() != std::declval<T>())>> : std::true_type {};
template <typename T, typename = void>
struct HasNotLess : std::false_type {};
template <typename T>
struct HasNotLess<T, std::void_t<decltype(std::declval<T>() >= std::declval<T>())>> : std::true_type {};
static_assert(!HasEqual<Int64>::value && !HasNotEqual<Int64>::value && !HasNotLess<Int64>::value);

constexpr long long kInteresting[] = {0,
                                      1,
                                      -1,
                                      44,
                                      0x7FFFFFFF,
                                      0x80000000LL,
                                      -0x80000000LL,
                                      0xFFFFFFFFLL,
                                      0x100000000LL,
                                      -0x100000000LL,
                                      0x123456789ABCDEFLL,
                                      std::numeric_limits<long long>::max(),
                                      std::numeric_limits<long long>::min()};

long long Wrapped(unsigned long long inBits) {
    return static_cast<long long>(inBits);
}

TEST(Int64Test, FieldsAreHighThenLow) {
    const Int64 value(0x0123456789ABCDEFLL);
    EXPECT_EQ(0x01234567, value.hi);
    EXPECT_EQ(0x89ABCDEFu, value.lo);
    UInt32 image[2];
    static_assert(sizeof image == sizeof value);
    std::memcpy(image, static_cast<const void*>(&value), sizeof image);
    EXPECT_EQ(0x01234567u, image[0]);
    EXPECT_EQ(0x89ABCDEFu, image[1]);
}

TEST(Int64Test, MemoryImageOnABigEndianHostIsTheInteger) {
    const long long number = 0x0123456789ABCDEFLL;
    const Int64 value(number);
    const bool isBigEndian = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
    EXPECT_EQ(isBigEndian, std::memcmp(static_cast<const void*>(&value), &number, sizeof number) == 0);
}

TEST(Int64Test, IntIsSignExtended) {
    EXPECT_EQ(-1, Int64(-1).LongLong());
    EXPECT_EQ(-1, Int64(-1).hi);
    EXPECT_EQ(0x7FFFFFFF, Int64(0x7FFFFFFF).LongLong());
    EXPECT_EQ(-0x80000000LL, Int64(std::numeric_limits<int>::min()).LongLong());
}

TEST(Int64Test, LongCarriesASigned32BitValue) {
    EXPECT_EQ(-5, Int64(-5L).LongLong());
    EXPECT_EQ(5, Int64(5L).LongLong());
    const long pattern = static_cast<long>(0x80000000UL);
    EXPECT_EQ(-0x80000000LL, Int64(pattern).LongLong());
}

TEST(Int64Test, UnsignedLongCarriesAnUnsigned32BitValue) {
    EXPECT_EQ(0x80000000LL, Int64(0x80000000UL).LongLong());
    EXPECT_EQ(0xFFFFFFFFLL, Int64(static_cast<unsigned long>(-1)).LongLong());
}

#if __SIZEOF_LONG__ > 4
TEST(Int64Test, WideLongsAreCutTo32Bits) {
    EXPECT_EQ(7, Int64(0x100000007L).LongLong());
    EXPECT_EQ(-1, Int64(0x7FFFFFFFFL).LongLong());
    EXPECT_EQ(0xFFFFFFFFLL, Int64(0x7FFFFFFFFUL).LongLong());
}
#endif

TEST(Int64Test, LongLongsKeepAll64Bits) {
    for (const long long value : kInteresting) {
        EXPECT_EQ(value, Int64(value).LongLong());
        EXPECT_EQ(value, Int64(static_cast<unsigned long long>(value)).LongLong());
    }
}

TEST(Int64Test, UnsignedWide) {
    const UnsignedWide wide = {0x80000001u, 0xFFFFFFFEu};
    const Int64 value(wide);
    EXPECT_EQ(static_cast<SInt32>(0x80000001u), value.hi);
    EXPECT_EQ(0xFFFFFFFEu, value.lo);
}

TEST(Int64Test, CopyAndAssign) {
    const Int64 source(-0x123456789ALL);
    Int64 copy(source);
    EXPECT_EQ(source.LongLong(), copy.LongLong());
    Int64 other(0);
    EXPECT_EQ(&other, &(other = copy));
    EXPECT_EQ(source.LongLong(), other.LongLong());
    Int64& itself = other;
    other = itself;
    EXPECT_EQ(source.LongLong(), other.LongLong());
}

TEST(Int64Test, Words) {
    const Int64 value(Wrapped(0xFEDCBA9880000001ULL));
    EXPECT_EQ(-0x7FFFFFFFL, value.Lo32());
    EXPECT_EQ(0x80000001UL, value.ULo32());
    EXPECT_EQ(0xFEDCBA98UL, value.UHi32());
}

TEST(Int64Test, ArithmeticWrapsModulo2To64) {
    for (const long long left : kInteresting) {
        for (const long long right : kInteresting) {
            const auto a = static_cast<unsigned long long>(left);
            const auto b = static_cast<unsigned long long>(right);
            Int64 sum(left), difference(left), product(left);
            EXPECT_EQ(&sum, &(sum += Int64(right)));
            EXPECT_EQ(&difference, &(difference -= Int64(right)));
            EXPECT_EQ(&product, &(product *= Int64(right)));
            EXPECT_EQ(Wrapped(a + b), sum.LongLong());
            EXPECT_EQ(Wrapped(a - b), difference.LongLong());
            EXPECT_EQ(Wrapped(a * b), product.LongLong());
            EXPECT_EQ(Wrapped(a + b), (Int64(left) + Int64(right)).LongLong());
            EXPECT_EQ(Wrapped(a - b), (Int64(left) - Int64(right)).LongLong());
        }
    }
}

TEST(Int64Test, CarryAndBorrowCrossTheWords) {
    Int64 value(0xFFFFFFFFLL);
    value += Int64(1);
    EXPECT_EQ(1, value.hi);
    EXPECT_EQ(0u, value.lo);
    value -= Int64(1);
    EXPECT_EQ(0, value.hi);
    EXPECT_EQ(0xFFFFFFFFu, value.lo);
}

TEST(Int64Test, OperatorsOnItself) {
    Int64 value(0x80000000LL);
    const Int64& itself = value;
    value += itself;
    EXPECT_EQ(0x100000000LL, value.LongLong());
    value *= itself;
    EXPECT_EQ(0, value.LongLong());
    value = Int64(9);
    value -= itself;
    EXPECT_EQ(0, value.LongLong());
}

TEST(Int64Test, ComparisonsAreSigned) {
    for (const long long left : kInteresting) {
        for (const long long right : kInteresting) {
            EXPECT_EQ(left > right, Int64(left) > Int64(right)) << left << " " << right;
            EXPECT_EQ(left < right, Int64(left) < Int64(right)) << left << " " << right;
            EXPECT_EQ(left <= right, Int64(left) <= Int64(right)) << left << " " << right;
        }
    }
}

TEST(Int64Test, MicrosecondsIsThePlatformsCounter) {
    fakes::SetMicroseconds(0x00000012, 0x89ABCDEF);
    EXPECT_EQ(0x1289ABCDEFLL, Int64::Microseconds().LongLong());
}

}  // namespace
