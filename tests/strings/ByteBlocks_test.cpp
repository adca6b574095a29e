#include "support/PageEnd.h"

#include <gtest/gtest.h>
#include <strings/ByteBlocks.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

// The move in the caller's own code, and the exported one.
using BlockMover = void (*)(const void*, void*, long);
const volatile BlockMover kMovers[] = {[](const void* inSource, void* outDestination, long inByteCount) {
                                           BlockMoveData(inSource, outDestination, inByteCount);
                                       },
                                       BlockMoveData};

class ByteBlocksMoved : public ::testing::TestWithParam<int> {
  protected:
    BlockMover move = kMovers[GetParam()];
};

// Into and out of a block of 256 bytes at every place, overlapping or not.
TEST_P(ByteBlocksMoved, WhateverTheOverlap) {
    std::vector<unsigned char> original(256);
    for (std::size_t i = 0; i < original.size(); ++i)
        original[i] = static_cast<unsigned char>(i);
    for (std::size_t from = 0; from < 24; ++from)
        for (std::size_t to = 0; to < 24; ++to)
            for (std::size_t count = 0; count <= 200; count += count < 70 ? 1 : 13) {
                std::vector<unsigned char> moved = original;
                move(moved.data() + from, moved.data() + to, static_cast<long>(count));
                for (std::size_t i = 0; i < moved.size(); ++i) {
                    const bool isMoved = i >= to && i < to + count;
                    ASSERT_EQ(original[isMoved ? i - to + from : i], moved[i])
                        << from << ' ' << to << ' ' << count << ' ' << i;
                }
            }
}

TEST_P(ByteBlocksMoved, NothingForNoCount) {
    char block[] = "abcdef";
    move(block, block + 3, 0);
    move(block, block + 3, -2);
    move(block, block + 3, std::numeric_limits<long>::min());
    move(nullptr, nullptr, 0);
    EXPECT_STREQ("abcdef", block);
}

// Cut to 32 bits, the counts would be those of four bytes, of none and of a negative number.
TEST_P(ByteBlocksMoved, CountsPast32Bits) {
    if constexpr (sizeof(long) > 4) {
        for (const long long count : {0x1'0000'0004LL, 0x1'0000'0000LL, 0x8000'0000LL}) {
            const support::PageEnd source(4096, support::PageEnd::kNothing);
            const support::PageEnd destination(4096, support::PageEnd::kNothing);
            EXPECT_EXIT((move(source.Bytes(), destination.Bytes(), static_cast<long>(count)), std::_Exit(0)),
                        support::IsKilled, "")
                << count;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EitherWay, ByteBlocksMoved, ::testing::Values(0, 1), [](const auto& inInfo) {
    return std::string(inInfo.param == 0 ? "InTheCaller" : "ByName");
});

TEST(ByteBlocks, ZeroesExactlyTheCount) {
    for (Size count = -2; count <= 100; ++count) {
        std::string block(104, 'x');
        BlockZero(block.data() + 2, count);
        const std::size_t zeroed = static_cast<std::size_t>(count < 0 ? 0 : count);
        EXPECT_EQ("xx" + std::string(zeroed, '\0') + std::string(102 - zeroed, 'x'), block);
    }
    BlockZero(nullptr, 0);
}

TEST(ByteBlocks, EqualUpToTheCount) {
    EXPECT_EQ(1, PMemEqual("abc", "abc", 3));
    EXPECT_EQ(0, PMemEqual("abc", "abd", 3));
    EXPECT_EQ(1, PMemEqual("abc", "abd", 2));
    EXPECT_EQ(0, PMemEqual("Abc", "abc", 3));
    EXPECT_EQ(0, PMemEqual("a\0b", "a\0c", 3));
    EXPECT_EQ(1, PMemEqual("a", "b", 0));
    EXPECT_EQ(1, PMemEqual("a", "b", -1));
    EXPECT_EQ(1, PMemEqual(nullptr, nullptr, 0));
}

TEST(ByteBlocks, UnequalAtEveryPlace) {
    const std::string left(70, 'q');
    for (std::size_t i = 0; i < left.size(); ++i) {
        std::string right = left;
        right[i] = '\xF1';
        EXPECT_EQ(0, PMemEqual(left.data(), right.data(), 70));
        EXPECT_EQ(1, PMemEqual(left.data(), right.data(), static_cast<long>(i)));
    }
}

}  // namespace
