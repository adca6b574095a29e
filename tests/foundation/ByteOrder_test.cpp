#include "support/PageEnd.h"

#include <foundation/ByteOrder.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
using ::testing::ElementsAre;

// inCount bytes 01 02 03 ...; exactly so many on the heap, so that a sanitizer sees any access past them.
Bytes Counting(std::size_t inCount) {
    Bytes bytes(inCount);
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
    return bytes;
}

Bytes RandomBytes(std::size_t inCount) {
    std::mt19937 random(static_cast<unsigned>(inCount) + 1);
    Bytes bytes(inCount);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

// Reverses each whole unit of the first inByteCount bytes.
Bytes Reversed(Bytes inBytes, long inByteCount, long inUnit) {
    for (long at = 0; at + inUnit <= inByteCount; at += inUnit)
        std::reverse(inBytes.begin() + at, inBytes.begin() + at + inUnit);
    return inBytes;
}

struct BlockSwapper {
    const char* name;
    void (*function)(void*, long);
    long unit;
    long bytesBeyond;  // that the caller must own
};
void PrintTo(const BlockSwapper& inSwapper, std::ostream* ioStream) {
    *ioStream << inSwapper.name;
}

class BlockSwapperTest : public ::testing::TestWithParam<BlockSwapper> {};
INSTANTIATE_TEST_SUITE_P(All, BlockSwapperTest,
                         ::testing::Values(BlockSwapper{"SwapBytesShort", SwapBytesShort, 2, 0},
                                           BlockSwapper{"SwapBytesLong", SwapBytesLong, 4, 0},
                                           BlockSwapper{"SwapBytes24", SwapBytes24, 3, 1},
                                           BlockSwapper{"SwapBytes64", SwapBytes64, 8, 0}),
                         [](const auto& inInfo) { return inInfo.param.name; });

TEST_P(BlockSwapperTest, ReversesWholeUnitsAndLeavesTheRest) {
    for (long byteCount = 0; byteCount <= 70; ++byteCount) {
        const long swapped = byteCount / GetParam().unit * GetParam().unit;
        Bytes bytes =
            RandomBytes(static_cast<std::size_t>(std::max(byteCount, swapped + GetParam().bytesBeyond)));
        const Bytes expected = Reversed(bytes, byteCount, GetParam().unit);
        GetParam().function(bytes.data(), byteCount);
        EXPECT_EQ(expected, bytes) << byteCount;
    }
}

TEST_P(BlockSwapperTest, AnyAlignment) {
    for (std::size_t offset = 0; offset < 16; ++offset) {
        constexpr long kByteCount = 24 * 40;
        Bytes bytes = RandomBytes(offset + kByteCount + 1);
        const Bytes tail(bytes.begin() + static_cast<long>(offset), bytes.end());
        const Bytes expected = Reversed(tail, kByteCount, GetParam().unit);
        GetParam().function(bytes.data() + offset, kByteCount);
        EXPECT_EQ(expected, Bytes(bytes.begin() + static_cast<long>(offset), bytes.end())) << offset;
    }
}

TEST_P(BlockSwapperTest, TwiceIsTheIdentity) {
    for (long byteCount : {1, 2, 3, 7, 8, 100, 1001, 44100}) {
        Bytes bytes = RandomBytes(static_cast<std::size_t>(byteCount) + 1);
        const Bytes original = bytes;
        GetParam().function(bytes.data(), byteCount);
        GetParam().function(bytes.data(), byteCount);
        EXPECT_EQ(original, bytes) << byteCount;
    }
}

TEST_P(BlockSwapperTest, NothingForCountsOfZeroOrLess) {
    Bytes bytes = Counting(32);
    for (long byteCount : {0L, -1L, -2L, -3L, -4L, -8L, -176400L, std::numeric_limits<long>::min()})
        GetParam().function(bytes.data() + 16, byteCount);
    EXPECT_EQ(Counting(32), bytes);
    GetParam().function(nullptr, 0);
}

TEST(SwapBytesShortTest, SixBytesAreThreeUnits) {
    Bytes bytes = Counting(6);
    SwapBytesShort(bytes.data(), 6);
    EXPECT_THAT(bytes, ElementsAre(2, 1, 4, 3, 6, 5));
}

TEST(SwapBytesShortTest, TheSeventhByteIsLeftAlone) {
    Bytes bytes = Counting(7);
    SwapBytesShort(bytes.data(), 7);
    EXPECT_THAT(bytes, ElementsAre(2, 1, 4, 3, 6, 5, 7));
}

TEST(SwapBytes24Test, TheByteAfterTheUnitsIsKept) {
    Bytes bytes = Counting(7);
    SwapBytes24(bytes.data(), 6);
    EXPECT_THAT(bytes, ElementsAre(3, 2, 1, 6, 5, 4, 7));
}

// The seventh byte is read and written back as it is, so it has to be there and may not be constant.
TEST(SwapBytes24Test, TouchesFourBytesForEachUnit) {
    for (const auto beyond : {support::PageEnd::kNothing, support::PageEnd::kReadOnly}) {
        const support::PageEnd bytes(6, beyond);
        EXPECT_EXIT((SwapBytes24(bytes.Bytes(), 6), std::_Exit(0)), support::IsKilled, "") << beyond;
    }
    const support::PageEnd whole(7, support::PageEnd::kNothing);
    std::iota(whole.Bytes(), whole.Bytes() + 7, static_cast<unsigned char>(1));
    SwapBytes24(whole.Bytes(), 6);
    EXPECT_THAT(Bytes(whole.Bytes(), whole.Bytes() + 7), ElementsAre(3, 2, 1, 6, 5, 4, 7));
}

TEST(SwapBytes64Test, OneUnitAndFourBytesLeft) {
    Bytes bytes = Counting(12);
    SwapBytes64(bytes.data(), 12);
    EXPECT_THAT(bytes, ElementsAre(8, 7, 6, 5, 4, 3, 2, 1, 9, 10, 11, 12));
}

TEST(SwapSectorsTest, OneSectorIs1176Samples) {
    Bytes bytes = RandomBytes(2352 + 4);
    const Bytes expected = Reversed(bytes, 2352, 2);
    SwapSectors(reinterpret_cast<char*>(bytes.data()), 1);
    EXPECT_EQ(expected, bytes);
}

TEST(SwapSectorsTest, NoneAndSeveral) {
    Bytes bytes = RandomBytes(2352 * 3);
    const Bytes original = bytes;
    SwapSectors(reinterpret_cast<char*>(bytes.data()), 0);
    EXPECT_EQ(original, bytes);
    SwapSectors(reinterpret_cast<char*>(bytes.data()), 3);
    EXPECT_EQ(Reversed(original, 2352 * 3, 2), bytes);
    SwapSectors(reinterpret_cast<char*>(bytes.data()), 3);
    EXPECT_EQ(original, bytes);
}

struct BlockMover {
    const char* name;
    void (*function)(const void*, void*, long);
    long unit;
};
void PrintTo(const BlockMover& inMover, std::ostream* ioStream) {
    *ioStream << inMover.name;
}

class BlockMoverTest : public ::testing::TestWithParam<BlockMover> {};
INSTANTIATE_TEST_SUITE_P(
    All, BlockMoverTest,
    ::testing::Values(BlockMover{"Short", BlockMoveDataSwappedShort, 2},
                      BlockMover{"Long", BlockMoveDataSwappedLong, 4},
                      BlockMover{"ShortAltivecAligned", BlockMoveDataSwappedShortAltivecAligned, 2},
                      BlockMover{"LongAltivecAligned", BlockMoveDataSwappedLongAltivecAligned, 4}),
    [](const auto& inInfo) { return inInfo.param.name; });

TEST_P(BlockMoverTest, WritesWholeUnitsOnly) {
    for (long byteCount = -5; byteCount <= 70; ++byteCount) {
        const auto size = static_cast<std::size_t>(std::max(byteCount, 0L));
        const Bytes source = RandomBytes(size);
        Bytes destination(size, 0xEE);
        Bytes expected = Reversed(source, byteCount, GetParam().unit);
        std::fill(expected.begin() + std::max(byteCount, 0L) / GetParam().unit * GetParam().unit,
                  expected.end(), static_cast<unsigned char>(0xEE));
        GetParam().function(source.data(), destination.data(), byteCount);
        EXPECT_EQ(expected, destination) << byteCount;
    }
}

TEST_P(BlockMoverTest, OntoItselfAndTwice) {
    const Bytes original = RandomBytes(1000);
    Bytes bytes = original;
    GetParam().function(bytes.data(), bytes.data(), 1000);
    EXPECT_EQ(Reversed(original, 1000, GetParam().unit), bytes);
    GetParam().function(bytes.data(), bytes.data(), 1000);
    EXPECT_EQ(original, bytes);
}

template <typename Value>
void ExpectSwap(Value inValue, Value inSwapped) {
    Value value = inValue;
    UPlatforms::Swap(value);
    EXPECT_EQ(inSwapped, value) << +inValue;
    UPlatforms::Swap(value);
    EXPECT_EQ(inValue, value) << +inSwapped;
}

TEST(UPlatformsTest, Shorts) {
    ExpectSwap<unsigned short>(0x1234, 0x3412);
    ExpectSwap<unsigned short>(0, 0);
    ExpectSwap<unsigned short>(0xFFFF, 0xFFFF);
    ExpectSwap<unsigned short>(0x00FF, 0xFF00);
    ExpectSwap<short>(0x1234, 0x3412);
    ExpectSwap<short>(-32768, 0x0080);
    ExpectSwap<short>(32767, static_cast<short>(0xFF7F));
    ExpectSwap<short>(-1, -1);
}

TEST(UPlatformsTest, LongsAreFourBytes) {
    ExpectSwap<long>(0x12345678L, 0x78563412L);
    ExpectSwap<long>(std::numeric_limits<SInt32>::min(), 0x00000080L);
    ExpectSwap<long>(std::numeric_limits<SInt32>::max(), static_cast<SInt32>(0xFFFFFF7F));
    ExpectSwap<long>(-1, -1);
    ExpectSwap<long>(0x000000FFL, static_cast<SInt32>(0xFF000000));
    ExpectSwap<unsigned long>(0x12345678UL, 0x78563412UL);
    ExpectSwap<unsigned long>(0x000000FFUL, 0xFF000000UL);
    ExpectSwap<unsigned long>(0xFFFFFFFFUL, 0xFFFFFFFFUL);
}

TEST(UPlatformsTest, LongLongsAreEightBytes) {
    ExpectSwap<long long>(0x0123456789ABCDEFLL, static_cast<long long>(0xEFCDAB8967452301ULL));
    ExpectSwap<long long>(std::numeric_limits<long long>::min(), 0x80LL);
    ExpectSwap<long long>(std::numeric_limits<long long>::max(),
                          static_cast<long long>(0xFFFFFFFFFFFFFF7FULL));
    ExpectSwap<long long>(-1, -1);
    ExpectSwap<unsigned long long>(0x00000000000000FFULL, 0xFF00000000000000ULL);
    ExpectSwap<unsigned long long>(0xFFFFFFFFFFFFFFFFULL, 0xFFFFFFFFFFFFFFFFULL);
}

TEST(UPlatformsTest, Int64) {
    Int64 value(0x0123456789ABCDEFLL);
    UPlatforms::Swap(value);
    EXPECT_EQ(static_cast<long long>(0xEFCDAB8967452301ULL), value.LongLong());
    UPlatforms::Swap(value);
    EXPECT_EQ(0x0123456789ABCDEFLL, value.LongLong());
}

TEST(UPlatformsTest, RectSwapsEachField) {
    Rect rect = {0x0102, -2, 0x7FFF, -32768};
    UPlatforms::Swap(rect);
    EXPECT_EQ(0x0201, rect.top);
    EXPECT_EQ(static_cast<SInt16>(0xFEFF), rect.left);
    EXPECT_EQ(static_cast<SInt16>(0xFF7F), rect.bottom);
    EXPECT_EQ(0x0080, rect.right);
}

// A name of inLength, its characters 0x0101, 0x0202, ... with the high byte one more.
HFSUniStr255 Name(UInt16 inLength) {
    HFSUniStr255 name;
    name.length = inLength;
    for (unsigned i = 0; i < 255; ++i)
        name.unicode[i] = static_cast<UniChar>((i + 1) << 8 | i);
    return name;
}

// How many characters Swap touched, when those are the first ones; else -1.
int SwappedCharacters(const HFSUniStr255& inBefore, const HFSUniStr255& inAfter) {
    int count = 0;
    while (count < 255 && inBefore.unicode[count] != inAfter.unicode[count])
        ++count;
    for (int i = 0; i < count; ++i)
        if (inAfter.unicode[i] != static_cast<UniChar>(inBefore.unicode[i] << 8 | inBefore.unicode[i] >> 8))
            return -1;
    for (int i = count; i < 255; ++i)
        if (inBefore.unicode[i] != inAfter.unicode[i]) return -1;
    return count;
}

TEST(UPlatformsTest, NativeNameOfThreeCharactersAndBack) {
    const HFSUniStr255 original = Name(3);
    HFSUniStr255 name = original;
    UPlatforms::Swap(name);
    EXPECT_EQ(768, name.length);
    EXPECT_EQ(3, SwappedCharacters(original, name));
    UPlatforms::Swap(name);
    EXPECT_EQ(0, std::memcmp(&original, &name, sizeof name));
}

TEST(UPlatformsTest, NameLengths) {
    struct {
        UInt16 length;
        int swappedCharacters;
    } const cases[] = {{0, 0}, {1, 1}, {255, 255}, {0x0100, 1}, {0xFF00, 255}, {0x0101, 255}, {0xFFFF, 255}};
    for (const auto& each : cases) {
        const HFSUniStr255 original = Name(each.length);
        HFSUniStr255 name = original;
        UPlatforms::Swap(name);
        EXPECT_EQ(static_cast<UInt16>(each.length << 8 | each.length >> 8), name.length) << each.length;
        EXPECT_EQ(each.swappedCharacters, SwappedCharacters(original, name)) << each.length;
    }
}

}  // namespace
