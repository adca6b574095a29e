#include <foundation/TextUtilities.h>
#include <gtest/gtest.h>
#include <toolbox/MacErrors.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

const unsigned char* Bytes(const char* inText) {
    return reinterpret_cast<const unsigned char*>(inText);
}

struct Converted {
    OSStatus status;
    std::u16string units;
    UInt16 count;
};

constexpr unsigned long kRoomy = 512;

// Units beyond those converted are checked to be untouched.
Converted Convert(const char* inText, unsigned long inCapacityBytes = kRoomy) {
    constexpr UniChar kUntouched = 0xEEEE;
    std::vector<UniChar> units(kRoomy, kUntouched);
    Converted result = {0, {}, 99};
    result.status = ConvertUTF8toUnicode(Bytes(inText), inCapacityBytes, units.data(), &result.count);
    result.units.assign(units.begin(), units.begin() + result.count);
    EXPECT_TRUE(result.status != noErr || units[result.count] == kUntouched);
    return result;
}

}  // namespace

TEST(CStrEscape, Table) {
    struct Row {
        const char* text;
        const char* expected;
    };
    constexpr Row kRows[] = {{"", ""},
                             {"plain", "plain"},
                             {"\"", "\\\""},
                             {"say \"hi\" twice", "say \\\"hi\\\" twice"},
                             {"\"\"", "\\\"\\\""},
                             {"back\\slash", "back\\slash"},
                             {"\xC3\xA9\"", "\xC3\xA9\\\""}};
    for (const Row& row : kRows) {
        std::vector<char> text(2 * std::strlen(row.text) + 1, '#');
        EXPECT_EQ(text.data(), CStrEscape(text.data(), row.text));
        EXPECT_STREQ(row.expected, text.data());
    }
}

TEST(CStrEscape, Nulls) {
    EXPECT_EQ(nullptr, CStrEscape(nullptr, "text"));
    EXPECT_EQ(nullptr, CStrEscape(nullptr, nullptr));
    char text[] = "before";
    EXPECT_EQ(text, CStrEscape(text, nullptr));
    EXPECT_STREQ("", text);
}

TEST(GuessTextEncoding, EveryUnit) {
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const bool isJapanese = (unit >= 0x3000 && unit <= 0x9FFF) || (unit >= 0xFF00 && unit <= 0xFFEF);
        const UniChar text[] = {'a', static_cast<UniChar>(unit)};
        ASSERT_EQ(isJapanese ? 1U : 0U, GuessTextEncoding(text, 2)) << std::hex << unit;
    }
}

TEST(GuessTextEncoding, EdgeCases) {
    const UniChar hiragana[] = {'x', 0x3042, 'y'};
    EXPECT_EQ(1U, GuessTextEncoding(hiragana, 3));
    EXPECT_EQ(0U, GuessTextEncoding(hiragana, 1)) << "only what counts is looked at";
    const UniChar latin[] = {'c', 'a', 'f', 0x00E9};
    EXPECT_EQ(0U, GuessTextEncoding(latin, 4));
    const UniChar fullWidthDigit[] = {0xFF10};
    EXPECT_EQ(1U, GuessTextEncoding(fullWidthDigit, 1));
    const UniChar behindTheForms[] = {0xFFF0};
    EXPECT_EQ(0U, GuessTextEncoding(behindTheForms, 1));
    EXPECT_EQ(0U, GuessTextEncoding(nullptr, 0));
}

TEST(ConvertUTF8toUnicode, Table) {
    struct Row {
        const char* bytes;
        OSStatus status;
        std::u16string units;
    };
    const Row kRows[] = {
        {"", noErr, u""},
        {"a:b", noErr, u"a/b"},
        {"a/b", noErr, u"a/b"},
        {"\xC2\x80\xDF\xBF", noErr, u"\u0080\u07FF"},
        {"\xE3\x81\x82", noErr, u"\u3042"},
        {"\xEF\xBF\xBFz", noErr, u"\uFFFFz"},
        {"\xC0\xBA", noErr, u":"},      // overlong; a character of several bytes is no separator
        {"\xE0\x80\xAF", noErr, u"/"},  // overlong
        {"\xC0\x80", noErr, std::u16string(1, u'\0')},
        {"\xED\xA0\x80", noErr, std::u16string(1, u'\xD800')},
        {"\xF0\x9F\x98\x80", paramErr, u""},
        {"\x80", paramErr, u""},
        {"\xBF", paramErr, u""},
        {"\xFF", paramErr, u""},
        {"a\xC3", paramErr, u""},  // the terminator where a byte should follow
        {"a\xE3\x81", paramErr, u""},
        {"\xC3\xC3\xA9", paramErr, u""},
        {"\xC3\x28", paramErr, u""},
        {"\xC3\x7F", paramErr, u""},  // on either side of the bytes that follow
        {"\xC3\xC0", paramErr, u""},
        {"\xE3\x81\x7F", paramErr, u""},
        {"\xE3\x81\xC0", paramErr, u""},
        {"\xE3\x81\x28", paramErr, u""},
        {"\xE3\x28\x81", paramErr, u""},
    };
    for (const Row& row : kRows) {
        const Converted result = Convert(row.bytes);
        EXPECT_EQ(row.status, result.status) << row.bytes;
        EXPECT_EQ(row.units, result.units) << row.bytes;
    }
}

TEST(ConvertUTF8toUnicode, EveryLeadByte) {
    for (int lead = 1; lead <= 0xFF; ++lead) {
        const char text[] = {static_cast<char>(lead), '\x81', '\x81', '\0'};
        // A character of two bytes leaves one that leads nothing; so does one of a single byte.
        const bool isThree = lead >= 0xE0 && lead <= 0xEF;
        EXPECT_EQ(isThree ? noErr : paramErr, Convert(text).status) << lead;
        const char alone[] = {static_cast<char>(lead), '\0'};
        EXPECT_EQ(lead < 0x80 ? noErr : paramErr, Convert(alone).status) << lead;
    }
}

TEST(ConvertUTF8toUnicode, EveryPairOfBytesBeforeAThird) {
    for (unsigned lead = 1; lead <= 0xFF; ++lead) {
        for (unsigned next = 0; next <= 0xFF; ++next) {
            const char text[] = {static_cast<char>(lead), static_cast<char>(next), '\x81', '\0'};
            const Converted result = Convert(text);
            const bool isThree = lead >= 0xE0 && lead <= 0xEF && next >= 0x80 && next <= 0xBF;
            const bool isOneAndTwo = lead < 0x80 && next >= 0xC0 && next <= 0xDF;
            const bool isOne = lead < 0x80 && next == 0;
            ASSERT_EQ(isThree || isOneAndTwo || isOne ? noErr : paramErr, result.status)
                << lead << ' ' << next;
            ASSERT_EQ(isThree || isOne ? 1 : isOneAndTwo ? 2 : 0, result.count) << lead << ' ' << next;
            if (isThree) {
                ASSERT_EQ((lead & 0x0F) << 12 | (next & 0x3F) << 6 | 0x01, unsigned{result.units[0]});
            }
            if (isOneAndTwo) {
                ASSERT_EQ((next & 0x1F) << 6 | 0x01, unsigned{result.units[1]});
            }
        }
    }
}

TEST(ConvertUTF8toUnicode, Capacity) {
    const char* const kTwoCharacters = "\xC3\xA9\xC3\xA8";
    EXPECT_EQ(memFullErr, Convert(kTwoCharacters, 0).status);
    EXPECT_EQ(memFullErr, Convert(kTwoCharacters, 2).status);
    EXPECT_EQ(0, Convert(kTwoCharacters, 2).count);
    EXPECT_EQ(noErr, Convert(kTwoCharacters, 4).status);
    // Only whether the place of the next unit begins inside is looked at.
    EXPECT_EQ(noErr, Convert(kTwoCharacters, 3).status);
    EXPECT_EQ(memFullErr, Convert("ab\xC3\xA9", 4).status);
    EXPECT_EQ(noErr, Convert("ab\xC3\xA9", 6).status);
    EXPECT_EQ(noErr, Convert("abc", 0).status) << "ASCII is stored whatever the capacity is";
    EXPECT_EQ(3, Convert("abc", 0).count);
    EXPECT_EQ(paramErr, Convert("\xC3(", 0).status) << "bad bytes come before a full buffer";
}

TEST(strnstr_, Table) {
    struct Row {
        const char* haystack;
        const char* needle;
        unsigned long maxLength;
        int found;  // -1: not
    };
    constexpr Row kRows[] = {
        {"hello world", "wor", 9, 6},
        {"hello world", "wor", 8, -1},
        {"hello world", "wor", 1000, 6},
        {"hello", "", 5, 0},
        {"hello", "", 0, 0},
        {"", "", 0, 0},
        {"", "a", 10, -1},
        {"hello", "h", 0, -1},
        {"hello", "h", 1, 0},
        {"hello", "lo", 5, 3},
        {"hello", "lo", 4, -1},
        {"hello", "lox", 10, -1},
        {"aab", "ab", 3, 1},
        {"aaab", "aab", 4, 1},
        {"abcabd", "abd", 6, 3},
        {"abcabd", "abd", 5, -1},
        {"hello", "hello", 5, 0},
        {"hello", "hello", 4, -1},
        {"hello", "hello!", 100, -1},
    };
    for (const Row& row : kRows) {
        const char* const found = strnstr_(row.haystack, row.needle, row.maxLength);
        EXPECT_EQ(row.found, found == nullptr ? -1 : found - row.haystack)
            << row.haystack << " " << row.needle << " " << row.maxLength;
    }
}

TEST(strnstr_, ReadsNothingBeyondTheLimit) {
    const std::vector<char> unterminated = {'a', 'b', 'c'};
    EXPECT_EQ(nullptr, strnstr_(unterminated.data(), "cd", 3));
    EXPECT_EQ(unterminated.data() + 1, strnstr_(unterminated.data(), "bc", 3));
}
