#include "PascalBuffer.h"
#include "fakes/Calls.h"
#include "fakes/Resources.h"
#include "fakes/Script.h"
#include "strings/NaiveByteStrings.h"

#include <gtest/gtest.h>
#include <strings/CharacterBytes.h>
#include <strings/PascalStrings.h>

#include <cmath>
#include <limits>
#include <string>

namespace {

class PascalStringsTest : public ::testing::Test {
  protected:
    PascalStringsTest() { SetScript(smRoman); }

    static void SetScript(ScriptCode inScript) {
        InterruptSafeCharacterByteType("a", 0, smHebrew);
        fakes::StartScenario();
        fakes::SetCurrentScript(inScript);
    }

    static bool IsFirst(unsigned char inByte) { return inByte == 0x82; }
};

using P = PascalBuffer;

TEST_F(PascalStringsTest, Length) {
    EXPECT_EQ(0, StrLength(P("")));
    EXPECT_EQ(5, StrLength(P("hello")));
    EXPECT_EQ(255, StrLength(P(Filler(255))));
}

TEST_F(PascalStringsTest, Equal) {
    EXPECT_EQ(1, PStrEqual(P(""), P("")));
    EXPECT_EQ(1, PStrEqual(P("abc"), P("abc")));
    EXPECT_EQ(0, PStrEqual(P("abc"), P("abC")));
    EXPECT_EQ(0, PStrEqual(P("abc"), P("ab")));
    EXPECT_EQ(0, PStrEqual(P("ab"), P("abc")));
    EXPECT_EQ(0, PStrEqual(P(""), P("a")));
    EXPECT_EQ(1, PStrEqual(P("a", '1'), P("a", '2'))) << "the byte behind does not count";
}

TEST_F(PascalStringsTest, EqualAtEveryLength) {
    for (std::size_t length = 1; length <= 255; ++length) {
        std::string text = Filler(length);
        const P buffer(text);
        EXPECT_EQ(1, PStrEqual(buffer, P(text)));
        for (const std::size_t at : {std::size_t{0}, length / 2, length - 1}) {
            std::string other = text;
            other[at] = '#';
            EXPECT_EQ(0, PStrEqual(buffer, P(other))) << length << ' ' << at;
        }
    }
}

// A string may be kept in no more bytes than it has.
TEST_F(PascalStringsTest, EqualReadsNoFurtherThanEither) {
    const std::string shortBuffer = "\1a";
    const auto* const shortText = reinterpret_cast<const unsigned char*>(shortBuffer.data());
    EXPECT_EQ(0, PStrEqual(P(Filler(255)), shortText));
    EXPECT_EQ(0, PStrEqual(shortText, P(Filler(255))));
}

TEST_F(PascalStringsTest, EqualUpToACount) {
    EXPECT_EQ(1, PStrNEqual(P("abc"), P("abd"), 2));
    EXPECT_EQ(0, PStrNEqual(P("abc"), P("abd"), 3));
    EXPECT_EQ(1, PStrNEqual(P("abc"), P("abcdef"), 3));
    EXPECT_EQ(0, PStrNEqual(P("abc"), P("abcdef"), 4));
    EXPECT_EQ(0, PStrNEqual(P("abcdef"), P("abc"), 4));
    EXPECT_EQ(0, PStrNEqual(P("Abc"), P("abc"), 1));
    EXPECT_EQ(1, PStrNEqual(P(""), P("abc"), 0));
    EXPECT_EQ(1, PStrNEqual(P(Filler(255)), P(Filler(255)), 255));
    EXPECT_EQ(0, PStrNEqual(P(Filler(254)), P(Filler(255)), 255));
}

TEST_F(PascalStringsTest, EqualUpToACountThatOneHasNot) {
    EXPECT_EQ(0, PStrNEqual(P("abcdef"), P("abc", 'd'), 4)) << "the byte behind does not count";
    EXPECT_EQ(0, PStrNEqual(P("abc", 'd'), P("abcdef"), 4));
    EXPECT_EQ(0, PStrNEqual(P("abc", 'd'), P("abc", 'd'), 4));
}

TEST_F(PascalStringsTest, EqualUpToEveryCount) {
    for (std::size_t length = 0; length <= 255; ++length) {
        const auto count = static_cast<unsigned char>(length);
        const std::string text = Filler(length);
        EXPECT_EQ(1, PStrNEqual(P(text), P(text), count)) << length;
        EXPECT_EQ(1, PStrNEqual(P(Filler(255)), P(text), count)) << length;
        if (length == 0) continue;
        EXPECT_EQ(0, PStrNEqual(P(text.substr(1)), P(text.substr(1)), count)) << length;
        std::string other = text;
        other.back() = '#';
        EXPECT_EQ(0, PStrNEqual(P(text), P(other), count)) << length;
        EXPECT_EQ(1, PStrNEqual(P(text), P(other), static_cast<unsigned char>(count - 1))) << length;
    }
}

TEST_F(PascalStringsTest, Contains) {
    EXPECT_EQ(1, PStrContains(P("hello"), P("")));
    EXPECT_EQ(1, PStrContains(P(""), P("")));
    EXPECT_EQ(0, PStrContains(P(""), P("a")));
    EXPECT_EQ(1, PStrContains(P("hello"), P("he")));
    EXPECT_EQ(1, PStrContains(P("hello"), P("lo")));
    EXPECT_EQ(1, PStrContains(P("hello"), P("hello")));
    EXPECT_EQ(0, PStrContains(P("hello"), P("Hello")));
    EXPECT_EQ(0, PStrContains(P("hello"), P("hello!")));
    EXPECT_EQ(0, PStrContains(P("hello", '!'), P("o!"))) << "the byte behind does not count";
    EXPECT_EQ(1, PStrContains(P("aaab"), P("aab"))) << "after a start that came to nothing";
    EXPECT_EQ(1, PStrContains(P(Filler(255)), P(Filler(255).substr(200))));
}

TEST_F(PascalStringsTest, ContainsChar) {
    EXPECT_EQ(0, PStrContainsChar(P(""), 'a'));
    EXPECT_EQ(1, PStrContainsChar(P("abc"), 'a'));
    EXPECT_EQ(1, PStrContainsChar(P("abc"), 'c'));
    EXPECT_EQ(0, PStrContainsChar(P("abc", 'd'), 'd'));
    EXPECT_EQ(0, PStrContainsChar(P("abc"), 'A'));
    EXPECT_EQ(0, PStrContainsChar(P("abc"), 3)) << "the length is no character";
    EXPECT_EQ(1, PStrContainsChar(P(std::string("a\0b", 3)), 0));
    EXPECT_EQ(1, PStrContainsChar(P("caf\x8E"), 0x8E));
}

TEST_F(PascalStringsTest, EndsWith) {
    EXPECT_EQ(1, PStrEndsWith(P("file.txt"), P(".txt")));
    EXPECT_EQ(0, PStrEndsWith(P("file.TXT"), P(".txt")));
    EXPECT_EQ(1, PStrEndsWith(P("file"), P("")));
    EXPECT_EQ(1, PStrEndsWith(P("file"), P("file")));
    EXPECT_EQ(0, PStrEndsWith(P("file"), P("afile")));
    EXPECT_EQ(0, PStrEndsWith(P("fil", 'e'), P("ile")));
    EXPECT_EQ(1, PStrEndsWith(P(Filler(255)), P(Filler(255))));
}

// The copying in the caller's own code, and the exported one.
using Copier = void (*)(const unsigned char*, unsigned char*);
const volatile Copier kCopiers[] = {
    [](const unsigned char* inSource, unsigned char* outDestination) { PStrCopy(inSource, outDestination); },
    PStrCopy};

class PascalStringsCopied : public PascalStringsTest, public ::testing::WithParamInterface<int> {
  protected:
    Copier copyString = kCopiers[GetParam()];
};

TEST_P(PascalStringsCopied, AtEveryLength) {
    for (std::size_t length = 0; length <= 255; ++length) {
        const std::string text = Filler(length);
        P copy;
        copyString(P(text), copy);
        EXPECT_EQ(text, copy.Text());
        EXPECT_TRUE(copy.IsUntouchedFrom(length + 1)) << length;
        copyString(copy, copy);
        EXPECT_EQ(text, copy.Text());
    }
}

TEST_P(PascalStringsCopied, Overlapping) {
    for (std::size_t length = 0; length <= 100; ++length)
        for (const std::size_t shift : {1, 2, 7, 8, 9, 16, 31, 64}) {
            const std::string text = Filler(length);
            P buffer(text);
            copyString(buffer, static_cast<unsigned char*>(buffer) + shift);
            P moved;
            std::memcpy(static_cast<unsigned char*>(moved), static_cast<unsigned char*>(buffer) + shift,
                        length + 1);
            EXPECT_EQ(text, moved.Text()) << length << ' ' << shift;
            copyString(static_cast<unsigned char*>(buffer) + shift, buffer);
            EXPECT_EQ(text, buffer.Text()) << length << ' ' << shift;
        }
}

INSTANTIATE_TEST_SUITE_P(EitherWay, PascalStringsCopied, ::testing::Values(0, 1), [](const auto& inInfo) {
    return std::string(inInfo.param == 0 ? "InTheCaller" : "ByName");
});

TEST_F(PascalStringsTest, CutCopyOfEveryLengthAndLimit) {
    for (std::size_t length = 0; length <= 255; ++length)
        for (int maxLength : {-32768, -1, 0, 1, 2, 9, 10, 11, 100, 253, 254, 255, 256, 32767}) {
            const std::string text = Filler(length);
            P copy;
            PStrNCopy(P(text), copy, static_cast<short>(maxLength));
            const std::string expected = text.substr(0, static_cast<std::size_t>(std::max(maxLength, 0)));
            ASSERT_EQ(expected, copy.Text()) << length << ' ' << maxLength;
            ASSERT_TRUE(copy.IsUntouchedFrom(expected.size() + 1));
        }
}

TEST_F(PascalStringsTest, CutCopyInPlace) {
    P text("abcdef");
    PStrNCopy(text, text, 3);
    EXPECT_EQ("abc", text.Text());
    EXPECT_EQ('d', static_cast<unsigned char*>(text)[4]);
}

TEST_F(PascalStringsTest, CutCopySplitsNoCharacter) {
    SetScript(smJapanese);
    P copy;
    PStrNCopy(P("abc\x82\xA0zzzzz"), copy, 4);
    EXPECT_EQ("abc", copy.Text());
    PStrNCopy(P("abc\x82\xA0zzzzz"), copy, 5);
    EXPECT_EQ("abc\x82\xA0", copy.Text());
    PStrNCopy(P("\x82\xA0"), copy, 1);
    EXPECT_EQ("", copy.Text());
    PStrNCopy(P("\x82\xA0"), copy, 0);
    EXPECT_EQ("", copy.Text());
    P inPlace("ab\x82\xA0");
    PStrNCopy(inPlace, inPlace, 3);
    EXPECT_EQ("ab", inPlace.Text());
    std::string longest = std::string(253, 'a') + "\x82\xA0";
    PStrNCopy(P(longest), copy, 254);
    EXPECT_EQ(std::string(253, 'a'), copy.Text());
    PStrNCopy(P(longest), copy, 255);
    EXPECT_EQ(longest, copy.Text());
    SetScript(smRoman);
    PStrNCopy(P("abc\x82\xA0zzzzz"), copy, 4);
    EXPECT_EQ("abc\x82", copy.Text());
}

// The limit that equals the length looks at the byte behind the text, second byte or not.
TEST_F(PascalStringsTest, AFirstByteAtTheEndIsDroppedAtTheLimitOnly) {
    SetScript(smJapanese);
    P copy;
    PStrNCopy(P("abc\x82"), copy, 4);
    EXPECT_EQ("abc", copy.Text());
    PStrNCopy(P("abc\x82"), copy, 5);
    EXPECT_EQ("abc\x82", copy.Text());
    PStrNCopy(P(std::string(254, 'a') + '\x82'), copy, 255);
    EXPECT_EQ(std::string(254, 'a'), copy.Text());
}

TEST_F(PascalStringsTest, CutCopiesAgainstTheModel) {
    SetScript(smJapanese);
    for (int length = 0; length <= 7; ++length)
        for (int pattern = 0; pattern < 1 << length; ++pattern)
            for (int maxLength = -1; maxLength <= 9; ++maxLength) {
                std::string source;
                for (int i = 0; i < length; ++i)
                    source += (pattern >> i & 1) != 0 ? '\x82' : 'a';
                P copy;
                PStrNCopy(P(source), copy, static_cast<short>(maxLength));
                const std::size_t cut = naive::CutLength(source + '\xEE', source.size(), maxLength, IsFirst);
                ASSERT_EQ(source.substr(0, cut), copy.Text()) << maxLength;
            }
}

TEST_F(PascalStringsTest, CatOfEveryLength) {
    for (std::size_t length = 0; length <= 255; ++length)
        for (std::size_t tailLength = 0; tailLength <= 255; ++tailLength) {
            const std::string text = Filler(length), tail = Filler(tailLength, 5);
            P buffer(text);
            PStrCat(buffer, P(tail));
            ASSERT_EQ((text + tail).substr(0, 255), buffer.Text());
            ASSERT_TRUE(buffer.IsUntouchedFrom(buffer.Text().size() + 1));
        }
}

TEST_F(PascalStringsTest, CatDropsWhatDoesNotFit) {
    P text(std::string(250, 'a'));
    PStrCat(text, P("0123456789"));
    EXPECT_EQ(std::string(250, 'a') + "01234", text.Text());
}

TEST_F(PascalStringsTest, CatToItself) {
    P text("abc");
    PStrCat(text, text);
    EXPECT_EQ("abcabc", text.Text());
    P longText(Filler(200));
    PStrCat(longText, longText);
    EXPECT_EQ((Filler(200) + Filler(200)).substr(0, 255), longText.Text());
}

TEST_F(PascalStringsTest, AddChar) {
    P text;
    PAddChar(text, 'a');
    PAddBlank(text);
    PAddChar(text, 0xFF);
    EXPECT_EQ("a \xFF", text.Text());
    P almost(Filler(254));
    PAddChar(almost, 'z');
    EXPECT_EQ(Filler(254) + 'z', almost.Text());
    PAddChar(almost, 'y');
    PAddBlank(almost);
    EXPECT_EQ(Filler(254) + 'z', almost.Text());
    EXPECT_TRUE(almost.IsUntouchedFrom(256));
}

TEST_F(PascalStringsTest, AddNum) {
    P text("n=");
    PAddNum(text, -2147483647L - 1);
    PAddNum(text, 0);
    PAddNum(text, 2147483647L);
    EXPECT_EQ("n=-214748364802147483647", text.Text());
    P almost(Filler(253));
    PAddNum(almost, 12345);
    EXPECT_EQ(Filler(253) + "12", almost.Text());
    PAddNum(almost, 7);
    EXPECT_EQ(Filler(253) + "12", almost.Text());
}

TEST_F(PascalStringsTest, AddNumOfNegativeNumbers) {
    P text;
    for (const long number : {-1L, -9L, -10L, -12345L, -2147483647L}) {
        P of("n=");
        PAddNum(of, number);
        EXPECT_EQ("n=" + std::to_string(number), of.Text());
        PAddNum(text, number);
    }
    EXPECT_EQ("-1-9-10-12345-2147483647", text.Text());
}

TEST_F(PascalStringsTest, AddNumTakesTheLow32Bits) {
    if constexpr (sizeof(long) == 4) return;  // no others to take
    P text;
    PAddNum(text, static_cast<long>(0x1'0000'0005LL));
    EXPECT_EQ("5", text.Text());
    PAddNum(text, static_cast<long>(0xFFFF'FFFFLL));
    EXPECT_EQ("5-1", text.Text());
}

TEST_F(PascalStringsTest, AddIndString) {
    fakes::ScriptResource(FourChars("STR#"), 128, "", std::string("\0\2\5first\6second", 15));
    P text("the ");
    PAddIndString(text, 128, 2);
    PAddIndString(text, 128, 1);
    EXPECT_EQ("the secondfirst", text.Text());
    for (const short index : {short{0}, short{3}, short{-1}})
        PAddIndString(text, 128, index);
    PAddIndString(text, 129, 1);
    EXPECT_EQ("the secondfirst", text.Text());
    P almost(Filler(252));
    PAddIndString(almost, 128, 2);
    EXPECT_EQ(Filler(252) + "sec", almost.Text());
}

TEST_F(PascalStringsTest, Lower) {
    P text("AZ@[az\xC3\x80 09\xE7");
    PLowerString(text);
    EXPECT_EQ("az@[az\xC3\x80 09\xE7", text.Text());
    PLowerText(static_cast<unsigned char*>(text) + 1, 0);
    P none("ABC");
    PLowerText(static_cast<unsigned char*>(none) + 1, -1);
    EXPECT_EQ("ABC", none.Text());
    PLowerText(static_cast<unsigned char*>(none) + 1, 2);
    EXPECT_EQ("abC", none.Text());
    P empty("", 'A');
    PLowerString(empty);
    EXPECT_EQ('A', static_cast<unsigned char*>(empty)[1]);
    P longest(std::string(255, 'Q'));
    PLowerString(longest);
    EXPECT_EQ(std::string(255, 'q'), longest.Text());
    EXPECT_TRUE(fakes::CallLog().empty()) << "no script has a say";
}

// Also of those that are a letter's code.
TEST_F(PascalStringsTest, LowerLeavesEveryLength) {
    for (std::size_t length = 0; length <= 255; ++length) {
        P text(std::string(length, 'Q'));
        PLowerString(text);
        EXPECT_EQ(std::string(length, 'q'), text.Text());
        EXPECT_TRUE(text.IsUntouchedFrom(length + 1)) << length;
    }
}

TEST_F(PascalStringsTest, LowerOfEveryByte) {
    for (int byte = 0; byte < 256; ++byte) {
        auto text = static_cast<unsigned char>(byte);
        PLowerText(&text, 1);
        EXPECT_EQ(byte >= 'A' && byte <= 'Z' ? byte + 32 : byte, text);
    }
}

TEST_F(PascalStringsTest, UpperInTheSystemScript) {
    P text("caf\x8E az");
    PStrUppercase(text);
    EXPECT_EQ("CAF\x83 AZ", text.Text());
    EXPECT_EQ(std::vector<std::string>{"UppercaseText(7, -1)"}, fakes::CallLog());
    P longest(std::string(255, 'q'));
    PStrUppercase(longest);
    EXPECT_EQ(std::string(255, 'Q'), longest.Text());
}

TEST_F(PascalStringsTest, Double) {
    EXPECT_EQ(2.5, PStr2Double(P("2.5")));
    EXPECT_EQ(-0.125, PStr2Double(P(" -.125")));
    EXPECT_EQ(1e10, PStr2Double(P("1e10 apples")));
    EXPECT_EQ(12, PStr2Double(P("12", '3'))) << "the byte behind does not count";
    EXPECT_EQ(0, PStr2Double(P("")));
    EXPECT_EQ(0, PStr2Double(P("apples")));
    EXPECT_EQ(1, PStr2Double(P(std::string(254, '0') + "1")));
    EXPECT_TRUE(std::isinf(PStr2Double(P("1e999"))));
}

TEST_F(PascalStringsTest, StripLeadingBlanks) {
    for (const auto& [text, expected] : {std::pair{"", ""},
                                         {"a", "a"},
                                         {" a", "a"},
                                         {"   a b ", "a b "},
                                         {" ", " "},
                                         {"   ", " "},
                                         {"a  ", "a  "},
                                         {"\t a", "\t a"}}) {
        P copy;
        PStrStripLeadingBlanks(P(text), copy);
        EXPECT_EQ(expected, copy.Text()) << '"' << text << '"';
        P inPlace(text);
        PStrStripLeadingBlanks(inPlace, inPlace);
        EXPECT_EQ(expected, inPlace.Text()) << '"' << text << '"';
    }
}

TEST_F(PascalStringsTest, StripOfEveryNumberOfBlanks) {
    for (std::size_t length = 0; length <= 255; ++length)
        for (const std::size_t blankCount : {std::size_t{0}, length / 2, length}) {
            const std::string text = std::string(blankCount, ' ') + Filler(length - blankCount);
            P copy;
            PStrStripLeadingBlanks(P(text), copy);
            ASSERT_EQ(naive::StripLeadingBlanks(text), copy.Text());
            ASSERT_TRUE(copy.IsUntouchedFrom(copy.Text().size() + 1));
        }
}

// Where the text already lies: the blank before it stays in the place of its length.
TEST_F(PascalStringsTest, StripToWhereTheTextLiesWritesNothing) {
    P buffer("  ab");
    PStrStripLeadingBlanks(buffer, static_cast<unsigned char*>(buffer) + 2);
    EXPECT_EQ("  ab", buffer.Text());
}

TEST_F(PascalStringsTest, StripToElsewhereInTheBuffer) {
    P buffer("  ab");
    PStrStripLeadingBlanks(buffer, static_cast<unsigned char*>(buffer) + 1);
    EXPECT_EQ("\2ab", std::string(reinterpret_cast<char*>(static_cast<unsigned char*>(buffer)) + 1, 3));
}

}  // namespace
