#include "PascalBuffer.h"
#include "fakes/Calls.h"
#include "fakes/Script.h"
#include "strings/NaiveByteStrings.h"

#include <gtest/gtest.h>
#include <strings/CStrings.h>
#include <strings/CharacterBytes.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

class CStringsTest : public ::testing::Test {
  protected:
    CStringsTest() { SetScript(smRoman); }

    static void SetScript(ScriptCode inScript) {
        InterruptSafeCharacterByteType("a", 0, smHebrew);
        fakes::StartScenario();
        fakes::SetCurrentScript(inScript);
    }

    static bool IsFirst(unsigned char inByte) { return inByte == 0x82; }
};

TEST_F(CStringsTest, Length) {
    EXPECT_EQ(0, CStrLength(nullptr));
    EXPECT_EQ(0, CStrLength(""));
    EXPECT_EQ(1, CStrLength("a"));
    EXPECT_EQ(32767, CStrLength(std::string(32767, 'x').c_str()));
    EXPECT_EQ(32767, CStrLength(std::string(32768, 'x').c_str()));
    EXPECT_EQ(32767, CStrLength(std::string(70000, 'x').c_str()));
}

TEST_F(CStringsTest, CopyIsCutAndTerminated) {
    for (std::size_t length = 0; length <= 40; ++length)
        for (int maxLength = 1; maxLength <= 42; ++maxLength) {
            const std::string source = Filler(length);
            char copy[64];
            std::memset(copy, '#', sizeof copy);
            CStrNCopy(source.c_str(), copy, static_cast<short>(maxLength));
            EXPECT_EQ(source.substr(0, static_cast<std::size_t>(maxLength)), copy);
            const std::size_t written = std::strlen(copy) + 1;
            EXPECT_EQ(sizeof copy - written,
                      static_cast<std::size_t>(std::count(copy + written, copy + 64, '#')));
        }
}

TEST_F(CStringsTest, NothingIsWrittenForNoLength) {
    for (const short maxLength : {short{0}, short{-1}, short{-32768}}) {
        char copy[] = "untouched";
        CStrNCopy("abc", copy, maxLength);
        EXPECT_STREQ("untouched", copy);
    }
}

TEST_F(CStringsTest, CopyOfTheLongest) {
    const std::string source(40000, 'y');
    std::string copy(32768, '#');
    CStrNCopy(source.c_str(), copy.data(), 32767);
    EXPECT_EQ(std::string(32767, 'y') + '\0', copy);
}

TEST_F(CStringsTest, CopyInPlaceIsCut) {
    char text[] = "abcdef";
    CStrNCopy(text, text, 3);
    EXPECT_STREQ("abc", text);
    EXPECT_EQ('e', text[4]);
    CStrNCopy(text, text, 3);
    EXPECT_STREQ("abc", text);
}

TEST_F(CStringsTest, CopyOverlaps) {
    char text[] = "abcdefgh";
    CStrNCopy(text, text + 2, 5);
    EXPECT_STREQ("ababcde", text);
    CStrNCopy(text + 2, text, 5);
    EXPECT_STREQ("abcde", text);
}

TEST_F(CStringsTest, CopySplitsNoCharacter) {
    SetScript(smJapanese);
    char copy[16];
    CStrNCopy("abc\x82\xA0zz", copy, 4);
    EXPECT_STREQ("abc", copy);
    CStrNCopy("abc\x82\xA0zz", copy, 5);
    EXPECT_STREQ("abc\x82\xA0", copy);
    CStrNCopy("abc\x82\xA0zz", copy, 3);
    EXPECT_STREQ("abc", copy);
    CStrNCopy("\x82\xA0", copy, 1);
    EXPECT_STREQ("", copy);
    CStrNCopy("\x82\x82\x82\x82", copy, 3);
    EXPECT_STREQ("\x82\x82", copy);
    char inPlace[] = "ab\x82\xA0";
    CStrNCopy(inPlace, inPlace, 3);
    EXPECT_STREQ("ab", inPlace);
}

// The terminator takes the place of a second byte that is missing.
TEST_F(CStringsTest, AFirstByteAtTheEndIsDroppedAtTheLimitOnly) {
    SetScript(smJapanese);
    char copy[16];
    CStrNCopy("abc\x82", copy, 4);
    EXPECT_STREQ("abc", copy);
    CStrNCopy("abc\x82", copy, 5);
    EXPECT_STREQ("abc\x82", copy);
}

TEST_F(CStringsTest, CopiesAgainstTheModel) {
    SetScript(smJapanese);
    for (int length = 0; length <= 7; ++length)
        for (int pattern = 0; pattern < 1 << length; ++pattern)
            for (int maxLength = 1; maxLength <= 9; ++maxLength) {
                std::string source;
                for (int i = 0; i < length; ++i)
                    source += (pattern >> i & 1) != 0 ? '\x82' : 'a';
                char copy[16];
                CStrNCopy(source.c_str(), copy, static_cast<short>(maxLength));
                const std::size_t cut = naive::CutLength(source + '\0', source.size(), maxLength, IsFirst);
                ASSERT_EQ(source.substr(0, cut), copy) << maxLength;
            }
}

TEST_F(CStringsTest, FromPascalInPlace) {
    for (std::size_t length = 0; length <= 255; ++length) {
        const std::string text = Filler(length);
        PascalBuffer buffer(text);
        char* const result = PStrToCStr(buffer);
        ASSERT_EQ(static_cast<void*>(result), static_cast<unsigned char*>(buffer));
        ASSERT_EQ(text, result);
        ASSERT_TRUE(buffer.IsUntouchedFrom(length + 1));
    }
    EXPECT_EQ(nullptr, PStrToCStr(nullptr));
}

TEST_F(CStringsTest, ToPascalInPlace) {
    for (std::size_t length = 0; length <= 300; ++length) {
        const std::string text = Filler(length);
        std::string buffer = text + '\0';
        unsigned char* const result = CStrToPStr(buffer.data());
        ASSERT_EQ(static_cast<void*>(result), buffer.data());
        const std::size_t kept = std::min<std::size_t>(length, 255);
        ASSERT_EQ(static_cast<char>(kept) + text.substr(0, kept), buffer.substr(0, kept + 1));
        if (length > kept) {
            ASSERT_EQ(text.substr(kept + 1) + '\0', buffer.substr(kept + 1)) << "bytes behind";
        }
    }
    EXPECT_EQ(nullptr, CStrToPStr(nullptr));
}

TEST_F(CStringsTest, ToPascalFromTheOverlong) {
    std::string buffer = std::string(40000, 'z');
    EXPECT_EQ(255, CStrToPStr(buffer.data())[0]);
    EXPECT_EQ(std::string(39999, 'z'), buffer.substr(1));
}

TEST_F(CStringsTest, ThereAndBack) {
    char text[300] = "there and back";
    PStrToCStr(CStrToPStr(text));
    EXPECT_STREQ("there and back", text);
}

}  // namespace
