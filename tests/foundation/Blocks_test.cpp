#include <foundation/Blocks.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "fakes/Calls.h"

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

// Every length and place of the difference around the stretches that are compared at once, against a plain
// loop.
TEST(Blocks, AgainstAPlainLoop) {
    std::mt19937 random(7);
    for (unsigned long length = 0; length < 1100; ++length) {
        std::vector<unsigned char> left(length);
        for (unsigned char& byte : left)
            byte = static_cast<unsigned char>(random());
        std::vector<unsigned char> right = left;
        for (unsigned changes = random() % 3; changes > 0 && length > 0; --changes)
            right[random() % length] = static_cast<unsigned char>(random());
        long expected = 0;
        for (unsigned long i = 0; i < length && expected == 0; ++i)
            expected = long{left[i]} - long{right[i]};
        EXPECT_EQ(expected, BlockCompare(left.data(), right.data(), length)) << length;
        EXPECT_EQ(expected == 0, BlocksAreEqual(left.data(), right.data(), length)) << length;
    }
}

}  // namespace
