#include "CFSupport.h"
#include "support/FailEach.h"
#include "support/FailingMalloc.h"

#include <corefoundation/CF_test_access.h>
#include <gtest/gtest.h>
#include <toolbox/CFString.h>

#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

using namespace std::string_literals;

namespace {

constexpr CFStringCompareFlags kCase = kCFCompareCaseInsensitive;
constexpr CFStringCompareFlags kNonliteral = kCFCompareNonliteral;
constexpr CFStringCompareFlags kNumerically = kCFCompareNumerically;
constexpr CFStringCompareFlags kLocalized = kCFCompareLocalized;

// The order expected is the common one of all locales.
class PlainLocale : public testing::Environment {
  public:
    void SetUp() override { setenv("LC_ALL", "C", 1); }
};
const testing::Environment* const sPlainLocale = testing::AddGlobalTestEnvironment(new PlainLocale);

// Both ways round, which must agree.
CFComparisonResult Compare(std::u16string_view inLeft, std::u16string_view inRight,
                           CFStringCompareFlags inFlags = 0) {
    const OwnedString left = StringOf(inLeft);
    const OwnedString right = StringOf(inRight);
    const CFComparisonResult result = CFStringCompare(left.get(), right.get(), inFlags);
    EXPECT_EQ(-result, CFStringCompare(right.get(), left.get(), inFlags));
    EXPECT_TRUE(result == -1 || result == 0 || result == 1) << result;
    EXPECT_EQ(kCFCompareEqualTo, CFStringCompare(left.get(), StringOf(inLeft).get(), inFlags));
    return result;
}

}  // namespace

TEST(Compare, Literally) {
    EXPECT_EQ(0, Compare(u"", u""));
    EXPECT_EQ(0, Compare(u"abc", u"abc"));
    EXPECT_EQ(-1, Compare(u"", u"a"));
    EXPECT_EQ(-1, Compare(u"ab", u"abc"));
    EXPECT_EQ(-1, Compare(u"abc", u"abd"));
    EXPECT_EQ(-1, Compare(u"ABC", u"abc")) << "case counts";
    EXPECT_EQ(-1, Compare(u"Z", u"a"));
    EXPECT_EQ(-1, Compare(u"a\0a"s, u"a\0b"s));
    EXPECT_EQ(-1, Compare(u"a", u"a\0"s));
    EXPECT_EQ(-1, Compare(u"e\u0301", u"\u00E9")) << "equivalent text is different text";
    EXPECT_EQ(-1, Compare(u"\U0001D11E", u"\uFF61")) << "by unit, not by code point";
    EXPECT_EQ(1, Compare(u"10", u"1"));
    EXPECT_EQ(-1, Compare(u"10", u"9"));
}

TEST(Compare, IdenticalObject) {
    const OwnedString string = StringOf(u"\xD800");
    for (const CFStringCompareFlags flags :
         {CFStringCompareFlags{0}, kCase, kLocalized, kNumerically | kNonliteral}) {
        EXPECT_EQ(kCFCompareEqualTo, CFStringCompare(string.get(), string.get(), flags));
    }
}

TEST(Compare, ConstantWithMade) {
    EXPECT_EQ(kCFCompareEqualTo, CFStringCompare(CFSTR("abc"), StringOf(u"abc").get(), 0));
    EXPECT_EQ(kCFCompareEqualTo, CFStringCompare(CFSTR("abc"), StringOf(u"ABC").get(), kCase));
}

TEST(Compare, WithoutCase) {
    EXPECT_EQ(0, Compare(u"abc", u"ABC", kCase));
    EXPECT_EQ(0, Compare(u"", u"", kCase));
    EXPECT_EQ(-1, Compare(u"", u"A", kCase));
    EXPECT_EQ(-1, Compare(u"abc", u"ABD", kCase));
    EXPECT_EQ(-1, Compare(u"ABC", u"abd", kCase));
    EXPECT_EQ(-1, Compare(u"_", u"A", kCase)) << "letters count as small ones";
    EXPECT_EQ(0, Compare(u"\u00C4\u03A3\u0416", u"\u00E4\u03C3\u0436", kCase));
    EXPECT_EQ(0, Compare(u"stra\u00DFe", u"STRASSE", kCase)) << "full folding";
    EXPECT_EQ(0, Compare(u"\U00010400", u"\U00010428", kCase)) << "beyond 16 bits";
    EXPECT_NE(0, Compare(u"e\u0301", u"\u00C9", kCase));
}

TEST(Compare, EveryLetterWithoutCase) {
    for (char16_t capital = u'A'; capital <= u'Z'; ++capital) {
        const std::u16string one(1, capital), other(1, static_cast<char16_t>(capital + 32));
        for (const CFStringCompareFlags flags :
             {kCase, kCase | kNonliteral, kCase | kNumerically, kCase | kLocalized,
              kCase | kCFCompareDiacriticInsensitive, kCase | kCFCompareWidthInsensitive}) {
            EXPECT_EQ(0, Compare(one, other, flags)) << capital - u'A' << " " << flags;
        }
        EXPECT_EQ(-1, Compare(one, other));
    }
}

// A program's own names are the same whoever runs it. ICU takes its locale once in a process.
TEST(Compare, LetterIInATurkishProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto compare = [] {
        setenv("LC_ALL", "tr_TR.UTF-8", 1);
        bool isSame = true;
        for (const CFStringCompareFlags flags : {kCase, kCase | kNonliteral, kCase | kNumerically})
            isSame = isSame && CFStringCompare(CFSTR("TITLE"), CFSTR("title"), flags) == 0;
        std::exit(isSame ? 0 : 1);
    };
    EXPECT_EXIT(compare(), testing::ExitedWithCode(0), "");
}

TEST(Compare, CanonicallyEquivalent) {
    EXPECT_EQ(0, Compare(u"caf\u00E9", u"cafe\u0301", kNonliteral));
    EXPECT_EQ(0, Compare(u"\u1E69", u"s\u0307\u0323", kNonliteral)) << "marks in another order";
    EXPECT_EQ(0, Compare(u"\u212B", u"A\u030A", kNonliteral));
    EXPECT_NE(0, Compare(u"\uFB01", u"fi", kNonliteral)) << "compatible only";
    EXPECT_NE(0, Compare(u"caf\u00C9", u"cafe\u0301", kNonliteral));
    EXPECT_EQ(0, Compare(u"caf\u00C9", u"cafe\u0301", kNonliteral | kCase));
    EXPECT_EQ(-1, Compare(u"a", u"b", kNonliteral));
}

TEST(Compare, Numerically) {
    EXPECT_EQ(-1, Compare(u"Foo2.txt", u"Foo7.txt", kNumerically));
    EXPECT_EQ(-1, Compare(u"Foo7.txt", u"Foo25.txt", kNumerically));
    EXPECT_EQ(-1, Compare(u"Foo2.txt", u"Foo25.txt", kNumerically));
    EXPECT_EQ(0, Compare(u"Foo007", u"Foo7", kNumerically)) << "by value";
    EXPECT_EQ(-1, Compare(u"Foo007a", u"Foo7b", kNumerically));
    EXPECT_EQ(0, Compare(u"0", u"000", kNumerically));
    EXPECT_EQ(-1, Compare(u"0", u"1", kNumerically));
    EXPECT_EQ(-1, Compare(u"99999999999999999999999", u"100000000000000000000000", kNumerically))
        << "of any length";
    EXPECT_EQ(-1, Compare(u"a", u"a1", kNumerically));
    EXPECT_EQ(-1, Compare(u"a1", u"ab", kNumerically));
    EXPECT_EQ(-1, Compare(u"a!", u"a1", kNumerically));
    EXPECT_EQ(-1, Compare(u"1.9", u"1.10", kNumerically));
    EXPECT_EQ(-1, Compare(u"\u0662", u"10", kNumerically)) << "digits of other scripts";
    EXPECT_EQ(0, Compare(u"", u"", kNumerically));
    EXPECT_EQ(-1, Compare(u"FOO2", u"foo10", kNumerically | kCase));
    EXPECT_EQ(1, Compare(u"foo2", u"FOO10", kNumerically));
    EXPECT_EQ(0, Compare(u"\u00E92", u"e\u030102", kNumerically | kNonliteral));
    EXPECT_EQ(0, Compare(u"\u00C92", u"e\u030102", kNumerically | kNonliteral | kCase));
}

TEST(Compare, NumericallyIsAnOrder) {
    const std::u16string texts[] = {u"",   u"!",   u"0",   u"00", u"1",  u"1!",     u"1a",      u"2",  u"10",
                                    u"9a", u"10a", u"a",   u"a!", u"a0", u"a1",     u"a1b2",    u"a2", u"a10",
                                    u"aa", u"~",   u"a~1", u"A1", u"/",  u"\u0661", u"\uFF12a", u"a/"};
    std::vector<OwnedString> strings;
    for (const std::u16string& text : texts)
        strings.push_back(StringOf(text));
    const auto compare = [](const OwnedString& inLeft, const OwnedString& inRight) {
        return CFStringCompare(inLeft.get(), inRight.get(), kNumerically);
    };
    for (const OwnedString& a : strings) {
        for (const OwnedString& b : strings) {
            for (const OwnedString& c : strings) {
                if (compare(a, b) <= 0 && compare(b, c) <= 0) {
                    EXPECT_LE(compare(a, c), 0);
                }
                if (compare(a, b) == 0) {
                    EXPECT_EQ(compare(a, c), compare(b, c));
                }
            }
        }
    }
}

// Longer than what is kept without asking for memory.
TEST(Compare, LongText) {
    for (const std::size_t length : {127U, 128U, 129U, 5000U}) {
        const std::u16string lower(length, u'\u00E9');
        const std::u16string upper(length, u'\u00C9');
        EXPECT_EQ(0, Compare(lower + u"01", upper + u"1", kNumerically | kCase | kNonliteral)) << length;
        EXPECT_EQ(-1, Compare(lower + u"1", upper + u"02", kNumerically | kCase)) << length;
        EXPECT_EQ(0, Compare(lower, upper, kCase | kNonliteral)) << length;
    }
}

TEST(Compare, Localized) {
    EXPECT_EQ(-1, Compare(u"a", u"B", kLocalized));
    EXPECT_EQ(-1, Compare(u"a", u"A", kLocalized)) << "small letters first";
    EXPECT_EQ(0, Compare(u"a", u"A", kLocalized | kCase));
    EXPECT_EQ(-1, Compare(u"e", u"\u00E9", kLocalized));
    EXPECT_EQ(-1, Compare(u"e", u"\u00E9", kLocalized | kCase)) << "accents count without case, too";
    EXPECT_EQ(-1, Compare(u"\u00E9", u"f", kLocalized));
    EXPECT_EQ(0, Compare(u"\u00E9", u"e\u0301", kLocalized));
    EXPECT_EQ(1, Compare(u"Foo2", u"Foo10", kLocalized));
    EXPECT_EQ(-1, Compare(u"Foo2", u"Foo10", kLocalized | kNumerically));
    EXPECT_EQ(-1, Compare(u"foo2", u"FOO10", kLocalized | kNumerically | kCase));
    EXPECT_EQ(0, Compare(u"FOO2", u"foo2", kLocalized | kNumerically | kCase));
}

TEST(Compare, BackwardsAndAnchoredMeanNothing) {
    for (const CFStringCompareFlags flags :
         {CFStringCompareFlags{kCFCompareBackwards}, CFStringCompareFlags{kCFCompareAnchored},
          CFStringCompareFlags{kCFCompareBackwards | kCFCompareAnchored}}) {
        EXPECT_EQ(-1, Compare(u"ab", u"ba", flags));
        EXPECT_EQ(-1, Compare(u"ABC", u"abc", flags));
        EXPECT_EQ(0, Compare(u"ABC", u"abc", flags | kCase));
    }
}

// Each allocation fails in turn; the answer is then that of no flags, and nothing stays behind.
TEST(Compare, NoMemory) {
    const std::u16string lower(500, u'\u00E9');
    const std::u16string upper(500, u'\u00C9');
    const OwnedString left = StringOf(lower + u"02");
    const OwnedString right = StringOf(upper + u"2");
    const int failureCount = support::FailEach<support::FailingMalloc>([&](const auto& inUnderFault) {
        CFComparisonResult result = kCFCompareLessThan;
        const bool failed = inUnderFault(
            [&] { result = CFStringCompare(left.get(), right.get(), kNumerically | kCase | kNonliteral); });
        EXPECT_EQ(0, support::FailingMalloc::LiveBlockCount());
        EXPECT_EQ(failed ? kCFCompareGreaterThan : kCFCompareEqualTo, result);
    });
    EXPECT_EQ(8, failureCount)
        << "for either text, room for its units and for their places, and for more of both";
}

TEST(Compare, WithoutHelp) {
    auto& calls = toolbox::corefoundation::ICUCallsForTesting();
    const auto saved = calls;
    calls.startStatus = [] { return 7; };  // memory is short
    for (const CFStringCompareFlags flags :
         {kCase, kNonliteral, kCase | kNonliteral, kNumerically | kCase, kNumerically | kNonliteral}) {
        EXPECT_EQ(-1, CFStringCompare(CFSTR("ABC"), CFSTR("abc"), flags)) << flags;
        EXPECT_EQ(1, CFStringCompare(CFSTR("abc"), CFSTR("ABC"), flags)) << flags;
    }
    calls = saved;
}

TEST(Compare, WithoutMarks) {
    constexpr CFStringCompareFlags kMarks = kCFCompareDiacriticInsensitive;
    EXPECT_EQ(0, Compare(u"caf\u00E9", u"cafe", kMarks));
    EXPECT_EQ(0, Compare(u"cafe\u0301", u"caf\u00E8", kMarks));
    EXPECT_EQ(-1, Compare(u"Caf\u00E9", u"cafe", kMarks));
    EXPECT_EQ(0, Compare(u"CAF\u00C9", u"cafe", kMarks | kCase));
    EXPECT_EQ(-1, Compare(u"\u00E9a", u"eb", kMarks));
    EXPECT_EQ(1, Compare(u"\u00E9a", u"eb")) << "with them";
    EXPECT_EQ(0, Compare(u"\u0301", u"", kMarks));
    EXPECT_EQ(0, Compare(u"\u1FB3", u"\u03B1", kMarks | kCase)) << "the iota beneath is a mark";
    EXPECT_EQ(-1, Compare(u"\u00F8", u"\u0153", kMarks)) << "a stroke is part of the letter";
    EXPECT_EQ(-1, Compare(u"\u00E9"
                          u"2",
                          u"e10", kMarks | kNumerically));
}

TEST(Compare, WithoutWidth) {
    constexpr CFStringCompareFlags kWidth = kCFCompareWidthInsensitive;
    EXPECT_EQ(0, Compare(u"\uFF21\uFF42\uFF11", u"Ab1", kWidth));
    EXPECT_EQ(1, Compare(u"\uFF21", u"A"));
    EXPECT_EQ(-1, Compare(u"\uFF21", u"a", kWidth));
    EXPECT_EQ(0, Compare(u"\uFF21", u"a", kWidth | kCase));
    EXPECT_EQ(0, Compare(u"\uFF76\uFF9E", u"\u30AC", kWidth | kNonliteral));
    EXPECT_EQ(-1, Compare(u"\uFF76\uFF9E", u"\u30AC", kWidth)) << "two characters";
    EXPECT_EQ(-1, Compare(u"x\uFF12", u"x10", kWidth | kNumerically));
    EXPECT_EQ(0, Compare(u"\uFFE0", u"\u00A2", kWidth));
}

TEST(Compare, LocalizedIgnoresTheSame) {
    EXPECT_EQ(-1, Compare(u"cafe", u"caf\u00E9", kLocalized));
    EXPECT_EQ(0, Compare(u"cafe", u"caf\u00E9", kLocalized | kCFCompareDiacriticInsensitive));
    EXPECT_EQ(-1, Compare(u"cafe", u"Caf\u00E9", kLocalized | kCFCompareDiacriticInsensitive));
    EXPECT_EQ(0, Compare(u"cafe", u"Caf\u00E9", kLocalized | kCase | kCFCompareDiacriticInsensitive));
    EXPECT_EQ(-1, Compare(u"A", u"\uFF21", kLocalized));
    EXPECT_EQ(0, Compare(u"A", u"\uFF21", kLocalized | kCFCompareWidthInsensitive));
    EXPECT_EQ(-1, Compare(u"a", u"\uFF21", kLocalized | kCFCompareWidthInsensitive)) << "the case is left";
    EXPECT_EQ(0, Compare(u"e2",
                         u"\u00C9"
                         u"02",
                         kLocalized | kCase | kNumerically | kCFCompareDiacriticInsensitive));
}

TEST(Compare, ForcedOrdering) {
    constexpr CFStringCompareFlags kForced = kCFCompareForcedOrdering;
    EXPECT_EQ(-1, Compare(u"ABC", u"abc", kCase | kForced));
    EXPECT_EQ(-1, Compare(u"abc", u"ABD", kCase | kForced)) << "only where all else is equal";
    EXPECT_EQ(-1, Compare(u"02", u"2", kNumerically | kForced));
    EXPECT_EQ(-1, Compare(u"e\u0301", u"\u00E9", kNonliteral | kForced));
    EXPECT_EQ(-1, Compare(u"e\u0301", u"\u00E9", kLocalized | kForced));
    EXPECT_EQ(0, Compare(u"abc", u"abc", kCase | kForced));
    EXPECT_EQ(-1, Compare(u"abc", u"abd", kForced));
}

TEST(Compare, PartOfAString) {
    const OwnedString string = StringOf(u"xxABCxx");
    const auto compare = [&string](CFStringRef inOther, CFIndex inLocation, CFIndex inLength,
                                   CFStringCompareFlags inFlags) {
        return CFStringCompareWithOptions(string.get(), inOther, CFRangeMake(inLocation, inLength), inFlags);
    };
    EXPECT_EQ(0, compare(CFSTR("ABC"), 2, 3, 0));
    EXPECT_EQ(0, compare(CFSTR("abc"), 2, 3, kCase));
    EXPECT_EQ(-1, compare(CFSTR("abc"), 2, 3, 0));
    EXPECT_EQ(1, compare(CFSTR("AB"), 2, 3, 0));
    EXPECT_EQ(0, compare(string.get(), 0, 7, 0));
    EXPECT_EQ(-1, compare(string.get(), 0, 6, 0));
    EXPECT_EQ(0, compare(CFSTR(""), 7, 0, kNonliteral));
    EXPECT_EQ(0, compare(CFSTR("xx"), 5, 99, 0)) << "cut to what there is";
    EXPECT_EQ(0, compare(CFSTR("xx"), 5, std::numeric_limits<CFIndex>::max(), 0));
    EXPECT_EQ(0, compare(CFSTR(""), 99, 1, 0));
    EXPECT_EQ(0, compare(CFSTR(""), 2, -1, 0));
    EXPECT_EQ(0, compare(CFSTR("xx"), -5, 2, 0));
}
