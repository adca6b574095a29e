#include "names/ModifiedUTF8.h"

#include <gtest/gtest.h>

namespace {

using toolbox::files::JoinSurrogatePairs;

TEST(JoinSurrogatePairs, TextWithoutPairsStays) {
    for (const char* text : {"", "/", "/a/b.m4a", "gr\xC3\xBC\xC3\x9F", "\xE2\x82\xAC", "\xF0\x9F\x8E\xB5",
                             "\xFF\xFE", "\xC0\x80",
                             "a\xC0\x80"
                             "b",
                             "\xED\x9F\xBF", "\xEE\x80\x80"}) {
        EXPECT_EQ(text, JoinSurrogatePairs(text));
    }
}

TEST(JoinSurrogatePairs, FirstAndLastCodePoints) {
    EXPECT_EQ("\xF0\x90\x80\x80", JoinSurrogatePairs("\xED\xA0\x80\xED\xB0\x80"));  // U+10000 = D800 DC00
    EXPECT_EQ("\xF4\x8F\xBF\xBF", JoinSurrogatePairs("\xED\xAF\xBF\xED\xBF\xBF"));  // U+10FFFF = DBFF DFFF
    EXPECT_EQ("\xF0\x90\x8F\xBF", JoinSurrogatePairs("\xED\xA0\x80\xED\xBF\xBF"));  // U+103FF = D800 DFFF
    EXPECT_EQ("\xF4\x8F\xB0\x80", JoinSurrogatePairs("\xED\xAF\xBF\xED\xB0\x80"));  // U+10FC00 = DBFF DC00
}

TEST(JoinSurrogatePairs, WithinText) {
    EXPECT_EQ("/a \xF0\x9F\x8E\xB5\xF0\x9F\x98\x80/b", JoinSurrogatePairs("/a \xED\xA0\xBC\xED\xBE\xB5"
                                                                          "\xED\xA0\xBD\xED\xB8\x80/b"));
}

TEST(JoinSurrogatePairs, LoneSurrogatesStay) {
    for (const char* text : {"\xED\xA0\x80", "\xED\xB0\x80", "\xED\xA0\x80x", "\xED\xB0\x80\xED\xA0\x80",
                             "\xED\xA0\x80\xED\xA0\x80", "x\xED\xA0\x80\xED\xB0"}) {
        EXPECT_EQ(text, JoinSurrogatePairs(text));
    }
    EXPECT_EQ("\xED\xA0\x80\xF0\x90\x80\x80", JoinSurrogatePairs("\xED\xA0\x80\xED\xA0\x80\xED\xB0\x80"));
}

TEST(JoinSurrogatePairs, ThirdByteMustContinue) {
    EXPECT_EQ("\xED\xA0\x41\xED\xB0\x80", JoinSurrogatePairs("\xED\xA0\x41\xED\xB0\x80"));
    EXPECT_EQ("\xED\xA0\x80\xED\xB0\xC0", JoinSurrogatePairs("\xED\xA0\x80\xED\xB0\xC0"));
}

TEST(JoinSurrogatePairs, Twice) {
    const std::string once = JoinSurrogatePairs("\xED\xA0\xBC\xED\xBE\xB5");
    EXPECT_EQ(once, JoinSurrogatePairs(once));
}

}  // namespace
