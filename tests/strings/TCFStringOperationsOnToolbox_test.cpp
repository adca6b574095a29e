// The operations over the real Core Foundation, against a second implementation on random text.
#include "NaiveStrings.h"
#include "StringTest.h"
#include "support/CommaLocale.h"
#include "support/Rounds.h"

#include <cstdlib>
#include <random>
#include <vector>

namespace {

using naive::Range;
using naive::Text;

// Letters that repeat, what the operations look for, marks, surrogates with and without partners, a NUL.
constexpr char16_t kUnits[] = {u'a', u'a', u'A', u'b', u'B',   u'e',   u'.',   u':',   u' ',   u'^',  u'0',
                               u'1', u'2', u'3', u'_', 0x0301, 0x00E9, 0x00C9, 0xD834, 0xDD1E, 0x0000};
constexpr unsigned long kFlags[] = {0, 1, 4, 5, 8, 9, 12, 13};

class Random {
  public:
    explicit Random(unsigned inSeed) : mGenerator(inSeed) {}
    long Below(long inLimit) { return static_cast<long>(mGenerator() % static_cast<unsigned long>(inLimit)); }
    Text String(long inMaxLength) {
        Text text(static_cast<std::size_t>(Below(inMaxLength + 1)), u'\0');
        for (char16_t& unit : text)
            unit = kUnits[Below(std::size(kUnits))];
        return text;
    }
    // A piece of the text more often than not, so that something is found.
    Text Piece(const Text& inText) {
        if (inText.empty() || Below(3) == 0) return String(3);
        const auto start = static_cast<std::size_t>(Below(naive::LengthOf(inText)));
        return inText.substr(start, static_cast<std::size_t>(Below(4)));
    }
    Range AnyRange(const Text& inText) {
        const long length = naive::LengthOf(inText);
        return {Below(length + 6) - 3, Below(length + 6) - 3};
    }
    unsigned long Flags() { return kFlags[Below(std::size(kFlags))]; }

  private:
    std::mt19937 mGenerator;
};

Range AsRange(CFRange inRange) {
    return {inRange.location, inRange.length};
}
CFRange AsCFRange(Range inRange) {
    return CFRangeMake(inRange.location, inRange.length);
}

std::string Shown(const Text& inText) {
    std::string shown;
    char buffer[8];
    for (const char16_t unit : inText) {
        std::snprintf(buffer, sizeof buffer, unit >= 32 && unit < 127 ? "%c" : "<%X>", unit);
        shown += buffer;
    }
    return "'" + shown + "'";
}

const int kRounds = support::Rounds(20000);

// Everything that a failure needs to be seen again.
#define TRACE(text, find, with, range, flags)                                                          \
    SCOPED_TRACE("text " + Shown(text) + " find " + Shown(find) + " with " + Shown(with) + " range " + \
                 std::to_string((range).location) + "," + std::to_string((range).length) + " flags " + \
                 std::to_string(flags))

TEST(OperationsOnToolboxTest, FindAgainstNaive) {
    Random random(1);
    int foundCount = 0;
    for (int i = 0; i < kRounds && !::testing::Test::HasFailure(); ++i) {
        const Text text = random.String(12), find = random.Piece(text);
        const Range range = random.AnyRange(text);
        const unsigned long flags = random.Flags();
        TRACE(text, find, Text(), range, flags);
        const TCFString string = Units(text), wanted = Units(find);
        const Range found = AsRange(string.Find(wanted, flags));
        EXPECT_EQ(naive::Find(text, find, flags).location, found.location);
        EXPECT_EQ(naive::FindInRange(text, range, find, flags),
                  AsRange(string.FindInRange(AsCFRange(range), wanted, flags)));
        EXPECT_EQ(naive::Checked(text, range), AsRange(string.CheckRange(AsCFRange(range))));
        EXPECT_EQ(naive::HasPrefix(text, find, false), string.HasPrefix(wanted, false));
        EXPECT_EQ(naive::HasPrefix(text, find, true), string.HasPrefix(wanted, true));
        EXPECT_EQ(naive::HasSuffix(text, find), string.HasSuffix(wanted));
        if (found.location >= 0) ++foundCount;
    }
    EXPECT_GT(foundCount, kRounds / 5) << "else this compares little";
}

TEST(OperationsOnToolboxTest, ReplaceAgainstNaive) {
    Random random(2);
    int changedCount = 0;
    for (int i = 0; i < kRounds && !::testing::Test::HasFailure(); ++i) {
        const Text text = random.String(16), find = random.Piece(text), with = random.String(4);
        const Range range = random.AnyRange(text);
        const unsigned long flags = random.Flags();
        TRACE(text, find, with, range, flags);
        const TCFString string = Units(text), wanted = Units(find), put = Units(with);
        EXPECT_EQ(naive::Replace(text, range, with), UnitsOf(string.Replace(AsCFRange(range), put)));
        EXPECT_EQ(naive::ReplaceSubstring(text, find, with, flags),
                  UnitsOf(string.ReplaceSubstring(wanted, put, flags)));
        const Text all = UnitsOf(string.FindAndReplace(wanted, put, AsCFRange(range), flags));
        EXPECT_EQ(naive::FindAndReplace(text, find, with, range, flags), all);
        EXPECT_EQ(text, UnitsOf(string)) << "the string itself stays";
        if (all != text) ++changedCount;
    }
    EXPECT_GT(changedCount, kRounds / 20) << "else this compares little";
}

TEST(OperationsOnToolboxTest, NamesAndConcatenationAgainstNaive) {
    Random random(3);
    for (int i = 0; i < kRounds && !::testing::Test::HasFailure(); ++i) {
        const Text text = random.String(20), tail = random.String(15);
        const long maxLength = random.Below(24) - 2;
        SCOPED_TRACE("text " + Shown(text) + " length " + std::to_string(maxLength));
        const TCFString string = Units(text);
        EXPECT_EQ(naive::Suffix(text), UnitsOf(string.Suffix()));
        EXPECT_EQ(naive::RemoveSuffix(text), UnitsOf(string.RemoveSuffix()));
        EXPECT_EQ(naive::HFSName(text, maxLength), UnitsOf(string.HFSName(maxLength)));
        EXPECT_EQ(text + tail, UnitsOf(string + Units(tail)));
    }
}

TEST(OperationsOnToolboxTest, PlugParamsAgainstNaive) {
    Random random(4);
    constexpr char16_t kMarks[] = {u'^', u'^', u'0', u'1', u'2', u'3', u'x'};
    const auto markedText = [&random, &kMarks](long inMaxLength) {
        Text text(static_cast<std::size_t>(random.Below(inMaxLength + 1)), u'\0');
        for (char16_t& unit : text)
            unit = kMarks[random.Below(std::size(kMarks))];
        return text;
    };
    for (int i = 0; i < kRounds && !::testing::Test::HasFailure(); ++i) {
        const Text text = markedText(16);
        const std::array<Text, 4> params = {markedText(3), markedText(3), markedText(3), markedText(3)};
        SCOPED_TRACE(Shown(text) + Shown(params[0]) + Shown(params[1]) + Shown(params[2]) + Shown(params[3]));
        EXPECT_EQ(naive::PlugParams(text, params),
                  UnitsOf(Units(text).PlugParams(Units(params[0]), Units(params[1]), Units(params[2]),
                                                 Units(params[3]))));
    }
}

TEST(OperationsOnToolboxTest, NumbersHaveAPointInEveryLocale) {
    const support::CommaLocale locale;
    ASSERT_EQ(3.75, std::strtod("3,75", nullptr)) << "else this shows nothing";
    unsigned char isGood = 0;
    EXPECT_EQ(3.0, Units(u"3.75").ToDouble(&isGood));
    EXPECT_EQ(1, isGood);
    EXPECT_EQ(3.0, Units(u"3,75").ToDouble(&isGood));
    EXPECT_EQ(0, isGood);
    EXPECT_EQ(1, Units(u"1.234").ToLong(10, &isGood));
    EXPECT_EQ(0, isGood);
}

TEST(OperationsOnToolboxTest, CaseBeyondOneUnit) {
    EXPECT_EQ(u"STRASSE", UnitsOf(Units(u"stra\u00DFe").Uppercase()));
    EXPECT_EQ(u"\u00E9t\u00E9", UnitsOf(Units(u"\u00C9T\u00C9").Lowercase()));
    EXPECT_EQ(u"\u00C9t\u00E9 An B2c", UnitsOf(Units(u"\u00E9T\u00C9 aN b2C").Capitalize()));
    EXPECT_EQ(u"\U00010400", UnitsOf(Units(u"\U00010428").Uppercase())) << "a surrogate pair";
    const Text alone = {u'a', 0xD834};
    EXPECT_EQ((Text{u'A', 0xD834}), UnitsOf(Units(alone).Uppercase()));
    EXPECT_TRUE(Units(u"stra\u00DFe").HasSuffix(Units(u"ASSE")));
    EXPECT_TRUE(TCFString::Empty.Uppercase().IsEmpty());
    EXPECT_TRUE(TCFString::Empty.Lowercase().IsEmpty());
    EXPECT_TRUE(TCFString::Empty.Capitalize().IsEmpty());
}

TEST(OperationsOnToolboxTest, NormalForms) {
    const TCFString string = Units(u"caf\u00E9 \uFB01");
    EXPECT_EQ(u"cafe\u0301 \uFB01", UnitsOf(string.Normalize(kCFStringNormalizationFormD)));
    EXPECT_EQ(u"cafe\u0301 fi", UnitsOf(string.Normalize(kCFStringNormalizationFormKD)));
    EXPECT_EQ(u"caf\u00E9 \uFB01",
              UnitsOf(Units(u"cafe\u0301 \uFB01").Normalize(kCFStringNormalizationFormC)));
    EXPECT_EQ(u"caf\u00E9 fi", UnitsOf(Units(u"cafe\u0301 \uFB01").Normalize(kCFStringNormalizationFormKC)));
    EXPECT_TRUE(TCFString::Empty.Normalize(kCFStringNormalizationFormD).IsEmpty());
    EXPECT_EQ(u"caf\u00E9 \uFB01", UnitsOf(string));
}

TEST(OperationsOnToolboxTest, FinderOrder) {
    const std::u16string_view kOrdered[] = {u"",      u"file",   u"file 1", u"file1",
                                            u"file9", u"file10", u"filet",  u"Zebra"};
    for (std::size_t i = 0; i < std::size(kOrdered); ++i)
        for (std::size_t k = 0; k < std::size(kOrdered); ++k) {
            const SInt32 order = i < k ? -1 : i > k ? 1 : 0;
            EXPECT_EQ(order, Units(kOrdered[i]).FinderCompareTo(Units(kOrdered[k]), true)) << i << " " << k;
            EXPECT_EQ(order, Units(kOrdered[i]).FinderCompareTo(Units(kOrdered[k]), false)) << i << " " << k;
        }
}

TEST(OperationsOnToolboxTest, FinderOrderOfWhatDiffersLittle) {
    const auto compare = [](std::u16string_view inLeft, std::u16string_view inRight, bool inStrict) {
        return Units(inLeft).FinderCompareTo(Units(inRight), inStrict);
    };
    EXPECT_EQ(0, compare(u"README", u"readme", true)) << "case";
    EXPECT_EQ(0, compare(u"caf\u00E9", u"cafe\u0301", true)) << "composition";
    EXPECT_EQ(0, compare(u"\uFF46", u"f", true)) << "width";
    EXPECT_EQ(-1, compare(u"cafe", u"caf\u00E9", true)) << "accents";
    EXPECT_EQ(-1, compare(u"cafe", u"caf\u00E9", false)) << "accents";
    EXPECT_EQ(-1, compare(u"\u3042", u"\u30A2", true)) << "the two kana";
    EXPECT_EQ(0, compare(u"\u3042", u"\u30A2", false)) << "the weakest difference";
    EXPECT_EQ(1, compare(u"\u30A2", u"\u3042", true));
}

TEST(OperationsOnToolboxTest, FinderOrderIsOf255Units) {
    const std::u16string front(255, u'x');
    EXPECT_EQ(0, Units(front + u"a").FinderCompareTo(Units(front + u"b"), true));
    EXPECT_EQ(-1, Units(front.substr(1) + u"a").FinderCompareTo(Units(front.substr(1) + u"b"), true));
}

}  // namespace
