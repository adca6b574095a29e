#include "Printable.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using tool::Printable;
using tool::QuotedJSON;

TEST(Printable, LeavesTextAsItIs) {
    for (const char* text : {"", "song one.m4a", "\xC3\xA4", "\xE6\x97\xA5\xE6\x9C\xAC", "\xF0\x9F\x8E\xB5",
                             "a\xCC\x88", "\xC2\xA0", "\xEF\xBF\xBD", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_EQ(text, Printable(text));
    }
}

TEST(Printable, ReplacesControlCharacters) {
    EXPECT_EQ("a?b?c?d", Printable("a\nb\033c\x7F"
                                   "d"));
    // U+0080, U+009B (which begins a terminal's command) and U+009F.
    EXPECT_EQ("a?b?c?", Printable("a\xC2\x80"
                                  "b\xC2\x9B"
                                  "c\xC2\x9F"));
}

TEST(Printable, ReplacesMarksThatTurnText) {
    // U+061C, U+200E, U+200F, U+202A, U+202E, U+2066, U+2069
    for (const char* mark : {"\xD8\x9C", "\xE2\x80\x8E", "\xE2\x80\x8F", "\xE2\x80\xAA", "\xE2\x80\xAE",
                             "\xE2\x81\xA6", "\xE2\x81\xA9"}) {
        EXPECT_EQ("a?b", Printable(std::string("a") + mark + "b"));
    }
    // U+2028 and U+2029 end a line.
    EXPECT_EQ("a??b", Printable("a\xE2\x80\xA8\xE2\x80\xA9"
                                "b"));
    // The neighbours stay: U+2027, U+202F, U+2065, U+206A.
    for (const char* text : {"\xE2\x80\xA7", "\xE2\x80\xAF", "\xE2\x81\xA5", "\xE2\x81\xAA"}) {
        EXPECT_EQ(text, Printable(text));
    }
}

TEST(Printable, ReplacesEachByteThatIsNotUTF8) {
    EXPECT_EQ("?", Printable("\x9B"));
    EXPECT_EQ("??x", Printable("\xC0\x80x"));     // longer than it need be
    EXPECT_EQ("???", Printable("\xED\xA0\x80"));  // half of a pair
    EXPECT_EQ("????", Printable("\xF4\x90\x80\x80"));
    EXPECT_EQ("a?", Printable("a\xE2"));
    EXPECT_EQ("??x", Printable("\xE2\x82x"));
}

TEST(IsUTF8, TakesWellFormedTextOnly) {
    for (const char* text : {"", "a", "\xC3\xA4", "\xF0\x9F\x8E\xB5", "\xC2\x9B"})
        EXPECT_TRUE(tool::IsUTF8(text));
    for (const char* text : {"\x80", "a\xFF", "\xC3", "\xED\xA0\x80", "\xC0\x80"})
        EXPECT_FALSE(tool::IsUTF8(text));
}

TEST(QuotedJSON, EscapesTheSameAndWhatJSONMustHaveEscaped) {
    EXPECT_EQ("\"\"", QuotedJSON(""));
    EXPECT_EQ("\"\xC3\xA4 b/\"", QuotedJSON("\xC3\xA4 b/"));
    EXPECT_EQ("\"a\\u009bb\\u202ec\\u007f\"", QuotedJSON("a\xC2\x9B"
                                                         "b\xE2\x80\xAE"
                                                         "c\x7F"));
    EXPECT_EQ("\"\\\"\\\\\\u000a\\u0000\"", QuotedJSON(std::string("\"\\\n\0", 4)));
}

TEST(QuotedJSON, IsUTF8WhateverTheTextIs) {
    EXPECT_EQ(
        "\"a\xEF\xBF\xBD\xEF\xBF\xBD"
        "b\"",
        QuotedJSON("a\xE2\x80"
                   "b"));
}

TEST(CountOf, OneIsNoPlural) {
    EXPECT_EQ("0 packets", tool::CountOf(0, "packet"));
    EXPECT_EQ("1 packet", tool::CountOf(1, "packet"));
    EXPECT_EQ("18446744073709551615 bytes", tool::CountOf(UINT64_MAX, "byte"));
}

}  // namespace
