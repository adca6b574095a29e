#include "fakes/Calls.h"
#include "foundation/LongBlocks.h"

#include <foundation/Blocks.h>
#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

TEST(Blocks, HeapIsMadeReady) {
    fakes::StartScenario();
    InitializeHeap(3);
    InitializeHeap(0);
    InitializeHeap(32767);
    InitializeHeap(-1);
    EXPECT_EQ((std::vector<std::string>{"MoreMasterPointers(192)", "MoreMasterPointers(0)",
                                        "MoreMasterPointers(2097088)"}),
              fakes::CallLog());
}

TEST(Blocks, Equal) {
    EXPECT_TRUE(BlocksAreEqual("abc", "abd", 2));
    EXPECT_FALSE(BlocksAreEqual("abc", "abd", 3));
    EXPECT_TRUE(BlocksAreEqual("a", "b", 0));
    EXPECT_TRUE(BlocksAreEqual(nullptr, nullptr, 0));
    EXPECT_TRUE(BlocksAreEqual("a\0b", "a\0b", 3));
    EXPECT_FALSE(BlocksAreEqual("a\0b", "a\0c", 3));
}

TEST(Blocks, OrderIsTheDifferenceOfUnsignedBytes) {
    EXPECT_EQ(0, BlockCompare("abc", "abc", 3));
    EXPECT_EQ(-1, BlockCompare("abc", "abd", 3));
    EXPECT_EQ(1, BlockCompare("abd", "abc", 3));
    EXPECT_EQ(0, BlockCompare("abc", "abd", 2));
    EXPECT_EQ(0, BlockCompare("a", "b", 0));
    EXPECT_EQ(0, BlockCompare(nullptr, nullptr, 0));
    EXPECT_EQ(255, BlockCompare("\xFF", "\0", 1));
    EXPECT_EQ(-255, BlockCompare("\0", "\xFF", 1));
    EXPECT_EQ(0x80 - 0x7F, BlockCompare("\x80", "\x7F", 1));
}

TEST(Blocks, OrderOfTwoLengths) {
    EXPECT_EQ(-1, BlockCompare("ab", "abc", 2UL, 3UL));
    EXPECT_EQ(1, BlockCompare("abc", "ab", 3UL, 2UL));
    EXPECT_EQ(0, BlockCompare("abc", "abc", 3UL, 3UL));
    EXPECT_EQ('b' - 'a', BlockCompare("b", "aaaa", 1UL, 4UL)) << "the bytes come first";
    EXPECT_EQ(-4, BlockCompare("", "abcd", 0UL, 4UL));
    EXPECT_EQ(0, BlockCompare("", "", 0UL, 0UL));
}

long CompareByALoop(const unsigned char* inLeft, const unsigned char* inRight, unsigned long inByteCount) {
    for (unsigned long i = 0; i < inByteCount; ++i)
        if (inLeft[i] != inRight[i]) return long{inLeft[i]} - long{inRight[i]};
    return 0;
}

// Every length around the stretches that are compared at once, against a plain loop, at odd addresses.
TEST(Blocks, AgainstAPlainLoop) {
    std::mt19937 random(7);
    for (unsigned long length = 0; length < 9000; length += length < 700 || length % 512 > 500 ? 1 : 97) {
        std::vector<unsigned char> left(length + 1);
        for (unsigned char& byte : left)
            byte = static_cast<unsigned char>(random());
        std::vector<unsigned char> right = left;
        for (unsigned changes = static_cast<unsigned>(random() % 3); changes > 0 && length > 0; --changes)
            right[1 + random() % length] = static_cast<unsigned char>(random());
        const unsigned char* const one = left.data() + 1;
        const unsigned char* const other = right.data() + 1;
        const long expected = CompareByALoop(one, other, length);
        EXPECT_EQ(expected, BlockCompare(one, other, length)) << length;
        EXPECT_EQ(-expected, BlockCompare(other, one, length)) << length;
        EXPECT_EQ(expected == 0, BlocksAreEqual(one, other, length)) << length;
        if (length > 64) {
            EXPECT_EQ(expected, CompareStretches(one, other, length)) << length;
        }
    }
}

// Every place of a single difference, and of a second one behind it that must not count.
TEST(Blocks, FirstDifferenceCounts) {
    std::vector<unsigned long> lengths(140);
    std::iota(lengths.begin(), lengths.end(), 1);
    lengths.insert(lengths.end(), {255, 256, 257, 384, 385, 600, 4096, 4097, 4106});
    for (const unsigned long length : lengths) {
        const std::vector<unsigned char> left(length, 0x80);
        for (unsigned long at = 0; at < length; ++at) {
            std::vector<unsigned char> right = left;
            right[length - 1] = 0;
            right[at] = 0x90;
            ASSERT_EQ(-0x10, BlockCompare(left.data(), right.data(), length)) << length << " " << at;
            ASSERT_EQ(0, BlockCompare(left.data(), right.data(), at)) << length << " " << at;
            if (length > 64) {
                ASSERT_EQ(-0x10, CompareStretches(left.data(), right.data(), length)) << length << " " << at;
            }
        }
    }
}

// Every alignment and length around whole words: those bytes and no others.
TEST(Blocks, ClearMem) {
    for (unsigned long start = 0; start < 8; ++start) {
        for (long length = 0; length < 70; ++length) {
            alignas(8) unsigned char bytes[80];
            std::memset(bytes, 0xAA, sizeof bytes);
            ClearMem(bytes + start, length);
            for (unsigned long i = 0; i < sizeof bytes; ++i) {
                const bool isInside = i >= start && i < start + static_cast<unsigned long>(length);
                ASSERT_EQ(isInside ? 0 : 0xAA, bytes[i]) << start << " " << length << " " << i;
            }
        }
    }
}

TEST(Blocks, ClearMemOfNothing) {
    unsigned char byte = 7;
    ClearMem(&byte, -4);
    ClearMem(&byte, -1);
    ClearMem(nullptr, 0);
    EXPECT_EQ(7, byte);
}

}  // namespace
