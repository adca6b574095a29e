#include "ToolboxFromC.h"

#include <gtest/gtest.h>

TEST(Headers, MemoryFromC) {
    char buffer[6];
    EXPECT_TRUE(CopyThroughHandleFromC("hello", buffer, sizeof buffer));
    EXPECT_STREQ("hello", buffer);
    EXPECT_FALSE(CopyThroughHandleFromC("hello!", buffer, sizeof buffer));
}

TEST(Headers, StringsFromC) {
    char buffer[8];
    EXPECT_TRUE(RecodeFromC("caf\xC3\xA9", buffer, sizeof buffer));
    EXPECT_STREQ("caf\x8E", buffer);
    EXPECT_FALSE(RecodeFromC("\xFF", buffer, sizeof buffer));
    EXPECT_EQ(0, CompareRangesFromC("abc", 0, 3));
    EXPECT_EQ(1, CompareRangesFromC("abc", 0, 2));
    EXPECT_EQ(-1, CompareRangesFromC("abc", 1, 1));
}

TEST(Headers, FormatsFromC) {
    char buffer[16];
    EXPECT_TRUE(FormatFromC("caf\x8E", -7, buffer, sizeof buffer));
    EXPECT_STREQ("CAF\xC3\x89: -7", buffer);
}

TEST(Headers, RateFromC) {
    EXPECT_EQ(0xAC440000U, RateFromC(44100));
}
