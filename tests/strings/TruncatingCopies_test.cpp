#include <gtest/gtest.h>
#include <strings/TruncatingCopies.h>

#include <cstring>
#include <string>

// As another header may declare them: the same names and arguments with C linkage live in one translation
// unit with the overloaded ones.
extern "C" {
void PStrNCopy(const unsigned char* inSource, unsigned char* outDestination, short inMaxLength);
void CStrNCopy(const char* inSource, char* outDestination, short inMaxLength);
}

// A caller that knows them as overloaded functions finds them under their link names.
namespace asoverloads {
void PStrNCopy(const unsigned char*, unsigned char*, short) __asm__("_Z9PStrNCopyPKhPhs");
void CStrNCopy(const char*, char*, short) __asm__("_Z9CStrNCopyPKcPcs");
}  // namespace asoverloads

namespace {

using Pascal = const unsigned char*;

Pascal P(const char* inText) {
    return reinterpret_cast<Pascal>(inText);
}

TEST(PStrNCopyTest, TakesTheShorterOfLengthAndLimit) {
    struct {
        const char* source;
        short limit;
        const char* expected;
    } const cases[] = {{"\5hello", 3, "\3hel"}, {"\5hello", 5, "\5hello"}, {"\5hello", 255, "\5hello"},
                       {"\5hello", 0, "\0"},    {"\0", 10, "\0"},          {"\5hello", 32767, "\5hello"}};
    for (const auto& each : cases) {
        unsigned char buffer[16];
        std::memset(buffer, 0xEE, sizeof buffer);
        truncating::PStrNCopy(P(each.source), buffer, each.limit);
        const auto length = static_cast<unsigned char>(each.expected[0]);
        EXPECT_EQ(0, std::memcmp(each.expected, buffer, length + 1u)) << each.limit;
        EXPECT_EQ(0xEE, buffer[length + 1]) << each.limit;
    }
}

TEST(PStrNCopyTest, OfALimitBelowZeroOnlyTheLengthIsWritten) {
    for (const short limit : {-1, -2, -255}) {
        unsigned char buffer[] = {7, '#', '#'};
        truncating::PStrNCopy(P("\2ab"), buffer, limit);
        EXPECT_EQ(static_cast<unsigned char>(limit), buffer[0]) << limit;
        EXPECT_EQ('#', buffer[1]) << limit;
        EXPECT_EQ('#', buffer[2]) << limit;
    }
}

TEST(PStrNCopyTest, InPlaceOnlyTheLengthChanges) {
    unsigned char buffer[] = "\5hello";
    truncating::PStrNCopy(buffer, buffer, 2);
    EXPECT_EQ(0, std::memcmp("\2hello", buffer, 6));
}

TEST(PStrNCopyTest, TheLongest) {
    unsigned char source[256], copy[256];
    std::memset(source, 'x', sizeof source);
    source[0] = 255;
    truncating::PStrNCopy(source, copy, 255);
    EXPECT_EQ(0, std::memcmp(source, copy, 256));
}

TEST(PStrNCopyTest, KnowsNothingOfDoubleBytes) {
    unsigned char buffer[8];
    truncating::PStrNCopy(P("\4a\x82\xA0"
                            "b"),
                          buffer, 2);
    EXPECT_EQ(0, std::memcmp("\2a\x82", buffer, 3));
}

TEST(CStrNCopyTest, CutsAtTheLimitAndTerminates) {
    struct {
        const char* source;
        short limit;
        const char* expected;
    } const cases[] = {{"hello", 3, "hel"}, {"hello", 5, "hello"}, {"hello", 6, "hello"},
                       {"hello", 1, "h"},   {"", 4, ""},           {"hello", 32767, "hello"}};
    for (const auto& each : cases) {
        char buffer[16];
        std::memset(buffer, '#', sizeof buffer);
        truncating::CStrNCopy(each.source, buffer, each.limit);
        EXPECT_STREQ(each.expected, buffer) << each.limit;
        EXPECT_EQ('#', buffer[std::strlen(each.expected) + 1]) << each.limit;
    }
}

TEST(CStrNCopyTest, WritesNothingForALimitOfZeroOrLess) {
    for (short limit : {0, -1, -32768}) {
        char buffer[] = "before";
        truncating::CStrNCopy("after", buffer, limit);
        EXPECT_STREQ("before", buffer) << limit;
    }
}

TEST(CStrNCopyTest, InPlaceIsCut) {
    char buffer[] = "hello";
    truncating::CStrNCopy(buffer, buffer, 4);
    EXPECT_STREQ("hell", buffer);
}

TEST(CStrNCopyTest, KnowsNothingOfDoubleBytes) {
    char buffer[8];
    truncating::CStrNCopy("a\x82\xA0", buffer, 2);
    EXPECT_STREQ("a\x82", buffer);
}

TEST(TruncatingCopiesTest, LinkNamesAreThoseOfOverloadedFunctions) {
    unsigned char pascal[8];
    asoverloads::PStrNCopy(P("\3abc"), pascal, 2);
    EXPECT_EQ(0, std::memcmp("\2ab", pascal, 3));
    char text[8];
    asoverloads::CStrNCopy("abc", text, 2);
    EXPECT_STREQ("ab", text);
}

}  // namespace
