#include "CFSupport.h"
#include "Faults.h"
#include "support/Rounds.h"

#include <gtest/gtest.h>
#include <toolbox/CFStringFind.h>
#include <unicode/uloc.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <limits>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <vector>

bool operator==(CFRange inLeft, CFRange inRight) {
    return inLeft.location == inRight.location && inLeft.length == inRight.length;
}
void PrintTo(CFRange inRange, std::ostream* outStream) {
    *outStream << "(" << inRange.location << ", " << inRange.length << ")";
}

namespace {

constexpr CFIndex kMaxIndex = std::numeric_limits<CFIndex>::max();
constexpr CFIndex kMinIndex = std::numeric_limits<CFIndex>::min();
constexpr CFRange kNowhere = {kCFNotFound, 0};
constexpr CFStringCompareFlags kCase = kCFCompareCaseInsensitive;
constexpr CFStringCompareFlags kBackwards = kCFCompareBackwards;
constexpr CFStringCompareFlags kAnchored = kCFCompareAnchored;
constexpr CFStringCompareFlags kNonliteral = kCFCompareNonliteral;
constexpr CFStringCompareFlags kMarks = kCFCompareDiacriticInsensitive;
constexpr CFStringCompareFlags kWidth = kCFCompareWidthInsensitive;

CFRange Found(std::u16string_view inText, std::u16string_view inFind, CFStringCompareFlags inFlags = 0) {
    return CFStringFind(StringOf(inText).get(), StringOf(inFind).get(), inFlags);
}

CFRange FoundIn(std::u16string_view inText, std::u16string_view inFind, CFRange inRange,
                CFStringCompareFlags inFlags = 0) {
    CFRange found = kNowhere;
    const Boolean isFound =
        CFStringFindWithOptions(StringOf(inText).get(), StringOf(inFind).get(), inRange, inFlags, &found);
    EXPECT_EQ(isFound, !(found == kNowhere));
    return found;
}

struct Replacement {
    std::u16string text;
    CFIndex count;
    bool operator==(const Replacement&) const = default;
};
void PrintTo(const Replacement& inReplacement, std::ostream* outStream) {
    *outStream << inReplacement.count << " " << testing::PrintToString(inReplacement.text);
}

Replacement ReplacedIn(std::u16string_view inText, std::u16string_view inFind, std::u16string_view inWith,
                       CFRange inRange, CFStringCompareFlags inFlags = 0) {
    const OwnedMutable string = MutableOf(inText);
    const CFIndex count = CFStringFindAndReplace(string.get(), StringOf(inFind).get(), StringOf(inWith).get(),
                                                 inRange, inFlags);
    return {TextOf(string), count};
}

Replacement ReplacedAll(std::u16string_view inText, std::u16string_view inFind, std::u16string_view inWith,
                        CFStringCompareFlags inFlags = 0) {
    return ReplacedIn(inText, inFind, inWith, CFRangeMake(0, static_cast<CFIndex>(inText.size())), inFlags);
}

}  // namespace

TEST(Find, ByUnits) {
    EXPECT_EQ((CFRange{1, 1}), Found(u"banana", u"a"));
    EXPECT_EQ((CFRange{5, 1}), Found(u"banana", u"a", kBackwards));
    EXPECT_EQ((CFRange{1, 3}), Found(u"banana", u"ana"));
    EXPECT_EQ((CFRange{3, 3}), Found(u"banana", u"ana", kBackwards));
    EXPECT_EQ((CFRange{0, 6}), Found(u"banana", u"banana"));
    EXPECT_EQ(kNowhere, Found(u"banana", u"bananas"));
    EXPECT_EQ(kNowhere, Found(u"banana", u"A"));
    EXPECT_EQ(kNowhere, Found(u"banana", u""));
    EXPECT_EQ(kNowhere, Found(u"", u"a"));
    EXPECT_EQ(kNowhere, Found(u"", u""));
    EXPECT_EQ((CFRange{1, 1}), Found(std::u16string(u"a\0b", 3), std::u16string(1, u'\0')));
    EXPECT_EQ((CFRange{1, 1}), Found(u"a\U0001D11E", u"\xD834")) << "units are units";
    EXPECT_EQ(kNowhere, Found(u"\u00E9", u"e\u0301"));
}

TEST(Find, Anchored) {
    EXPECT_EQ((CFRange{0, 2}), Found(u"abab", u"ab", kAnchored));
    EXPECT_EQ((CFRange{2, 2}), Found(u"abab", u"ab", kAnchored | kBackwards));
    EXPECT_EQ(kNowhere, Found(u"xab", u"ab", kAnchored));
    EXPECT_EQ(kNowhere, Found(u"abx", u"ab", kAnchored | kBackwards));
    EXPECT_EQ((CFRange{1, 4}), Found(u"a.TXT", u".txt", kCase | kAnchored | kBackwards));
    EXPECT_EQ(kNowhere, Found(u"a.TXTx", u".txt", kCase | kAnchored | kBackwards));
    EXPECT_EQ((CFRange{0, 2}), Found(u"ABab", u"ab", kCase | kAnchored));
    EXPECT_EQ(kNowhere, Found(u"a", u"ab", kAnchored));
    EXPECT_EQ(kNowhere, Found(u"a", u"ba", kAnchored | kBackwards | kCase));
}

TEST(Find, InRange) {
    EXPECT_EQ((CFRange{3, 1}), FoundIn(u"banana", u"a", {2, 4}));
    EXPECT_EQ((CFRange{3, 1}), FoundIn(u"banana", u"a", {1, 4}, kBackwards));
    EXPECT_EQ((CFRange{2, 2}), FoundIn(u"banana", u"na", {2, 2}, kAnchored));
    EXPECT_EQ((CFRange{2, 2}), FoundIn(u"banana", u"na", {0, 4}, kAnchored | kBackwards));
    EXPECT_EQ((CFRange{2, 2}), FoundIn(u"baNana", u"na", {1, 4}, kCase));
    EXPECT_EQ((CFRange{4, 2}), FoundIn(u"baNana", u"NA", {1, 5}, kCase | kBackwards));
    EXPECT_EQ(kNowhere, FoundIn(u"banana", u"ana", {2, 3})) << "not whole inside";
    EXPECT_EQ(kNowhere, FoundIn(u"banana", u"a", {1, 0}));
    EXPECT_EQ(kNowhere, FoundIn(u"banana", u"a", {6, 0}));
    for (const CFRange outside :
         {CFRange{-1, 3}, CFRange{0, 7}, CFRange{7, 0}, CFRange{0, -1}, CFRange{3, kMaxIndex},
          CFRange{kMaxIndex, kMaxIndex}, CFRange{kMinIndex, 1}, CFRange{0, kMinIndex}}) {
        EXPECT_EQ(kNowhere, FoundIn(u"banana", u"a", outside));
        EXPECT_EQ(kNowhere, FoundIn(u"banana", u"a", outside, kCase));
    }
}

TEST(Find, ResultMayBeNullAndIsUntouchedWithoutOne) {
    const CFRange all = CFRangeMake(0, 3);
    EXPECT_TRUE(CFStringFindWithOptions(CFSTR("abc"), CFSTR("b"), all, 0, nullptr));
    EXPECT_FALSE(CFStringFindWithOptions(CFSTR("abc"), CFSTR("x"), all, 0, nullptr));
    CFRange found = {-1, -1};
    EXPECT_FALSE(CFStringFindWithOptions(CFSTR("abc"), CFSTR("x"), all, 0, &found));
    EXPECT_EQ((CFRange{-1, -1}), found);
}

TEST(Find, CaseInsensitive) {
    EXPECT_EQ((CFRange{2, 3}), Found(u"xxABC", u"aBc", kCase));
    EXPECT_EQ((CFRange{1, 2}), Found(u"a\u00C9\u0416", u"\u00E9\u0436", kCase));
    EXPECT_EQ((CFRange{4, 1}), Found(u"Stra\u00DFe", u"SS", kCase)) << "one letter is two";
    EXPECT_EQ((CFRange{4, 2}), Found(u"STRASSE", u"\u00DF", kCase));
    EXPECT_EQ(kNowhere, Found(u"Stra\u00DFe", u"s e", kCase));
    EXPECT_EQ(kNowhere, Found(u"a\u00DFe", u"se", kCase)) << "half a letter is none";
    EXPECT_EQ((CFRange{1, 2}), Found(u"x\U00010400", u"\U00010428", kCase));
    EXPECT_EQ(kNowhere, Found(u"x\U00010400", u"\xD801", kCase)) << "half a character is none";
    EXPECT_EQ((CFRange{0, 1}), Found(u"\u212A", u"k", kCase)) << "the Kelvin sign";
    EXPECT_EQ((CFRange{1, 1}), Found(u"a\xD800", u"\xD800", kCase));
    EXPECT_EQ((CFRange{2, 1}), Found(u"\u03A3x\u03C2", u"\u03C3", kCase | kBackwards));
}

TEST(Find, Nonliteral) {
    EXPECT_EQ((CFRange{1, 2}), Found(u"ae\u0301x", u"\u00E9", kNonliteral));
    EXPECT_EQ((CFRange{1, 1}), Found(u"a\u00E9x", u"e\u0301", kNonliteral));
    EXPECT_EQ(kNowhere, Found(u"ae\u0301x", u"e", kNonliteral)) << "a composed character is whole";
    EXPECT_EQ(kNowhere, Found(u"a\u00E9x", u"e", kNonliteral));
    EXPECT_EQ((CFRange{0, 3}), Found(u"a\u0323\u0307", u"a\u0307\u0323", kNonliteral)) << "order of marks";
    EXPECT_EQ((CFRange{0, 2}), Found(u"E\u0301", u"\u00E9", kNonliteral | kCase));
    EXPECT_EQ(kNowhere, Found(u"E\u0301", u"\u00E9", kNonliteral));
    EXPECT_EQ((CFRange{1, 2}), Found(u"x\u1100\u1161", u"\uAC00", kNonliteral)) << "a syllable";
    EXPECT_EQ(kNowhere, Found(u"\uAC01", u"\uAC00", kNonliteral)) << "a syllable with one sound more";
    EXPECT_EQ((CFRange{0, 1}), Found(u"\u2126", u"\u03A9", kNonliteral));
    EXPECT_EQ((CFRange{1, 2}), Found(u"\u00E9e\u0301", u"\u00E9", kNonliteral | kBackwards));
    EXPECT_EQ((CFRange{2, 1}), Found(u"e\u0301\u00E9", u"e\u0301", kNonliteral | kBackwards));
    EXPECT_EQ((CFRange{1, 2}), Found(u"\u00E9e\u0301", u"\u00E9", kNonliteral | kBackwards | kAnchored));
}

TEST(Find, WithoutMarks) {
    EXPECT_EQ((CFRange{1, 1}), Found(u"x\u00E9y", u"e", kMarks));
    EXPECT_EQ((CFRange{1, 3}), Found(u"xe\u0301\u0323y", u"e", kMarks)) << "marks behind belong to it";
    EXPECT_EQ((CFRange{1, 1}), Found(u"xey", u"\u00E9", kMarks));
    EXPECT_EQ((CFRange{0, 5}), Found(u"Cr\u00E8me", u"creme", kMarks | kCase));
    EXPECT_EQ(kNowhere, Found(u"Cr\u00E8me", u"creme", kMarks));
    EXPECT_EQ((CFRange{0, 2}), Found(u"a\u0301b", u"a", kMarks));
    EXPECT_EQ(kNowhere, Found(u"abc", u"\u0301", kMarks)) << "nothing is left to find";
    EXPECT_EQ((CFRange{1, 1}), Found(u"x\u0130", u"i", kMarks | kCase));
    EXPECT_EQ((CFRange{1, 2}), FoundIn(u"xe\u0301\u0301", u"e", {0, 3}, kMarks))
        << "no further than the range";
}

TEST(Find, WithoutWidth) {
    EXPECT_EQ((CFRange{1, 3}), Found(u"x\uFF21\uFF22\uFF23", u"ABC", kWidth));
    EXPECT_EQ(kNowhere, Found(u"x\uFF21\uFF22\uFF23", u"abc", kWidth));
    EXPECT_EQ((CFRange{1, 3}), Found(u"x\uFF21\uFF22\uFF23", u"abc", kWidth | kCase));
    EXPECT_EQ((CFRange{0, 2}), Found(u"\uFF76\uFF85", u"\u30AB\u30CA", kWidth)) << "half-width katakana";
    EXPECT_EQ((CFRange{0, 2}), Found(u"\uFF76\uFF9E", u"\u30AC", kWidth | kNonliteral)) << "voiced";
    EXPECT_EQ((CFRange{1, 1}), Found(u"a\u3000b", u" ", kWidth));
    EXPECT_EQ((CFRange{0, 1}), Found(u"\uFFE5", u"\u00A5", kWidth));
    EXPECT_EQ(kNowhere, Found(u"\u2460", u"1", kWidth)) << "a circle is no width";
}

TEST(Find, OfALocale) {
    const auto find = [](std::u16string_view inText, std::u16string_view inFind, const char* inLocale,
                         CFStringCompareFlags inFlags) {
        const Owned<CFLocaleRef> locale(CFLocaleCreate(
            nullptr,
            OwnedString(CFStringCreateWithCString(nullptr, inLocale, kCFStringEncodingASCII)).get()));
        CFRange found = kNowhere;
        CFStringFindWithOptionsAndLocale(StringOf(inText).get(), StringOf(inFind).get(),
                                         CFRangeMake(0, static_cast<CFIndex>(inText.size())), inFlags,
                                         locale.get(), &found);
        return found;
    };
    constexpr CFStringCompareFlags kLocalized = kCFCompareLocalized | kCase;
    EXPECT_EQ((CFRange{0, 1}), find(u"\u0131", u"I", "tr_TR", kLocalized));
    EXPECT_EQ(kNowhere, find(u"i", u"I", "tr_TR", kLocalized));
    EXPECT_EQ((CFRange{0, 1}), find(u"i", u"\u0130", "az", kLocalized));
    EXPECT_EQ((CFRange{0, 1}), find(u"i", u"I", "en_US", kLocalized));
    EXPECT_EQ((CFRange{0, 1}), find(u"i", u"I", "tr_TR", kCase)) << "not asked for";
}

TEST(Find, EveryLetterWithoutCase) {
    for (char16_t capital = u'A'; capital <= u'Z'; ++capital) {
        const std::u16string one(1, capital), other(1, static_cast<char16_t>(capital + 32));
        for (const CFStringCompareFlags flags :
             {kCase, kCase | kNonliteral, kCase | kMarks, kCase | kWidth, kCase | kBackwards}) {
            EXPECT_EQ((CFRange{0, 1}), Found(one, other, flags)) << flags;
            EXPECT_EQ((CFRange{0, 1}), Found(other, one, flags)) << flags;
        }
        EXPECT_EQ(kNowhere, Found(one, other));
    }
}

// A program finds its own names whoever runs it; only what is asked for the user's sake is the user's.
TEST(Find, LetterIInATurkishProcess) {
    const std::string before = uloc_getDefault();
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault("tr_TR", &status);
    EXPECT_EQ((CFRange{0, 1}), Found(u"I", u"i", kCase));
    EXPECT_EQ((CFRange{2, 4}), Found(u"a.TIFF", u"tiff", kCase | kBackwards | kAnchored));
    EXPECT_EQ(kNowhere, Found(u"I", u"\u0131", kCase));
    EXPECT_EQ(kNowhere, Found(u"I", u"i", kCase | kCFCompareLocalized));
    EXPECT_EQ((CFRange{0, 1}), Found(u"I", u"\u0131", kCase | kCFCompareLocalized));
    uloc_setDefault(before.c_str(), &status);
    EXPECT_TRUE(U_SUCCESS(status));
}

TEST(Find, PrefixAndSuffix) {
    EXPECT_TRUE(CFStringHasPrefix(CFSTR("abc"), CFSTR("ab")));
    EXPECT_TRUE(CFStringHasPrefix(CFSTR("abc"), CFSTR("abc")));
    EXPECT_FALSE(CFStringHasPrefix(CFSTR("abc"), CFSTR("AB")));
    EXPECT_FALSE(CFStringHasPrefix(CFSTR("abc"), CFSTR("bc")));
    EXPECT_FALSE(CFStringHasPrefix(CFSTR("abc"), CFSTR("abcd")));
    EXPECT_FALSE(CFStringHasPrefix(CFSTR("abc"), CFSTR("")));
    EXPECT_TRUE(CFStringHasSuffix(CFSTR("abc"), CFSTR("bc")));
    EXPECT_TRUE(CFStringHasSuffix(CFSTR("bcbc"), CFSTR("bc")));
    EXPECT_FALSE(CFStringHasSuffix(CFSTR("abc"), CFSTR("ab")));
    EXPECT_FALSE(CFStringHasSuffix(CFSTR("abc"), CFSTR("BC")));
    EXPECT_FALSE(CFStringHasSuffix(CFSTR("abc"), CFSTR("")));
    EXPECT_FALSE(CFStringHasSuffix(CFSTR(""), CFSTR("a")));
}

TEST(FindAndReplace, Literally) {
    EXPECT_EQ((Replacement{u"bbnbnb", 3}), ReplacedAll(u"banana", u"a", u"b"));
    EXPECT_EQ((Replacement{u"bbnana", 1}), ReplacedIn(u"banana", u"a", u"b", {0, 2}));
    EXPECT_EQ((Replacement{u"banbnb", 2}), ReplacedIn(u"banana", u"a", u"b", {3, 3}));
    EXPECT_EQ((Replacement{u"bnn", 3}), ReplacedAll(u"banana", u"a", u""));
    EXPECT_EQ((Replacement{u"bXna", 1}), ReplacedAll(u"banana", u"ana", u"X"));
    EXPECT_EQ((Replacement{u"banX", 1}), ReplacedAll(u"banana", u"ana", u"X", kBackwards));
    EXPECT_EQ((Replacement{u"baaaab", 2}), ReplacedAll(u"bxxb", u"x", u"aa")) << "what was put in stays";
    EXPECT_EQ((Replacement{u"xxxx", 2}), ReplacedAll(u"xx", u"x", u"xx"));
    EXPECT_EQ((Replacement{u"banana", 0}), ReplacedAll(u"banana", u"x", u"b"));
    EXPECT_EQ((Replacement{u"banana", 0}), ReplacedAll(u"banana", u"", u"b"));
    EXPECT_EQ((Replacement{u"", 0}), ReplacedAll(u"", u"a", u"b"));
    EXPECT_EQ((Replacement{u"banana", 0}), ReplacedIn(u"banana", u"a", u"b", {0, 7}));
    EXPECT_EQ((Replacement{u"banana", 0}), ReplacedIn(u"banana", u"a", u"b", {-1, 2}));
}

TEST(FindAndReplace, Anchored) {
    EXPECT_EQ((Replacement{u"..ba", 2}), ReplacedAll(u"aaba", u"a", u".", kAnchored));
    EXPECT_EQ((Replacement{u"aab.", 1}), ReplacedAll(u"aaba", u"a", u".", kAnchored | kBackwards));
    EXPECT_EQ((Replacement{u"baa", 0}), ReplacedAll(u"baa", u"a", u".", kAnchored));
}

TEST(FindAndReplace, ByMeaning) {
    EXPECT_EQ((Replacement{u"xbxbx", 3}), ReplacedAll(u"AbabA", u"a", u"x", kCase));
    EXPECT_EQ((Replacement{u"--", 2}), ReplacedAll(u"\u00E9e\u0301", u"\u00E9", u"-", kNonliteral));
    EXPECT_EQ((Replacement{u"--", 2}), ReplacedAll(u"\u00DFss", u"SS", u"-", kCase));
    EXPECT_EQ((Replacement{u"--", 2}), ReplacedAll(u"\u00DFss", u"SS", u"-", kCase | kBackwards));
    EXPECT_EQ((Replacement{u"-x-", 2}), ReplacedAll(u"e\u0301x\u00E8", u"e", u"-", kMarks));
}

TEST(FindAndReplace, OfItselfAndNothing) {
    const OwnedMutable string = MutableOf(u"aba");
    EXPECT_EQ(2, CFStringFindAndReplace(string.get(), CFSTR("a"), string.get(), CFRangeMake(0, 3), 0));
    EXPECT_EQ(u"abababa", TextOf(string));
    EXPECT_EQ(1, CFStringFindAndReplace(string.get(), string.get(), CFSTR("x"), CFRangeMake(0, 7), 0));
    EXPECT_EQ(u"x", TextOf(string));
    EXPECT_EQ(0, CFStringFindAndReplace(string.get(), nullptr, CFSTR("y"), CFRangeMake(0, 1), 0));
    EXPECT_EQ(0, CFStringFindAndReplace(string.get(), CFSTR("x"), nullptr, CFRangeMake(0, 1), 0));
    const OwnedMutable limited = MutableOf(u"aa", 3);
    EXPECT_EQ(0, CFStringFindAndReplace(limited.get(), CFSTR("a"), CFSTR("bb"), CFRangeMake(0, 2), 0));
    EXPECT_EQ(u"aa", TextOf(limited));
}

namespace {

std::u16string Decomposed(const std::u16string& inText) {
    UErrorCode status = U_ZERO_ERROR;
    std::u16string out(inText.size() * 20 + 8, u' ');
    const int32_t count =
        unorm2_normalize(unorm2_getNFDInstance(&status), inText.data(), static_cast<int32_t>(inText.size()),
                         out.data(), static_cast<int32_t>(out.size()), &status);
    EXPECT_TRUE(U_SUCCESS(status));
    out.resize(static_cast<std::size_t>(count));
    return out;
}

std::u16string Folded(const std::u16string& inText) {
    UErrorCode status = U_ZERO_ERROR;
    std::u16string out(inText.size() * 4 + 8, u' ');
    const int32_t count = u_strFoldCase(out.data(), static_cast<int32_t>(out.size()), inText.data(),
                                        static_cast<int32_t>(inText.size()), U_FOLD_CASE_DEFAULT, &status);
    EXPECT_TRUE(U_SUCCESS(status));
    out.resize(static_cast<std::size_t>(count));
    return out;
}

// As the text is compared, said of a whole text at once.
std::u16string Seen(const std::u16string& inText, CFStringCompareFlags inFlags) {
    std::u16string text = inText;
    if ((inFlags & kNonliteral) != 0) text = Decomposed(text);
    if ((inFlags & kCase) != 0) text = Folded(text);
    return (inFlags & kNonliteral) != 0 ? Decomposed(text) : text;
}

// Whether a piece may begin at a place of the text.
bool IsBoundary(const std::u16string& inText, std::size_t inIndex, CFStringCompareFlags inFlags) {
    if (inFlags == 0 || inIndex == 0 || inIndex == inText.size()) return true;
    if (U16_IS_TRAIL(inText[inIndex]) && U16_IS_LEAD(inText[inIndex - 1])) return false;
    if ((inFlags & kNonliteral) == 0) return true;
    UErrorCode status = U_ZERO_ERROR;
    UChar32 codePoint;
    U16_GET(inText.data(), 0, inIndex, inText.size(), codePoint);
    return unorm2_hasBoundaryBefore(unorm2_getNFCInstance(&status), codePoint);
}

// Every part of the text tried.
std::optional<CFRange> FindByTrying(const std::u16string& inText, const std::u16string& inFind,
                                    CFStringCompareFlags inFlags, bool inBackwards) {
    const std::u16string sought = Seen(inFind, inFlags);
    std::optional<CFRange> best;
    for (std::size_t start = 0; start < inText.size(); ++start) {
        for (std::size_t end = start + 1; end <= inText.size(); ++end) {
            if (!IsBoundary(inText, start, inFlags) || !IsBoundary(inText, end, inFlags)) continue;
            if (Seen(inText.substr(start, end - start), inFlags) != sought) continue;
            best = CFRange{static_cast<CFIndex>(start), static_cast<CFIndex>(end - start)};
            if (!inBackwards) return best;
        }
    }
    return best;
}

}  // namespace

TEST(Find, AsTryingEveryPartDoes) {
    constexpr char16_t kAlphabet[] = {u'a',   u'A',   u'e',   u'E',   0x00E9, 0x00C9, 0x0301, 0x0327,
                                      0x00DF, u's',   u'S',   0x017F, 0x212A, u'k',   0xD801, 0xDC00,
                                      0xDC28, 0x1100, 0x1161, 0xAC00, 0x11A8, 0x0130, 0x0345, 0x1F80};
    std::mt19937 random(11);
    const auto text = [&](int inMaxLength) {
        std::u16string made(std::uniform_int_distribution<std::size_t>(1, inMaxLength)(random), u' ');
        for (char16_t& unit : made)
            unit = kAlphabet[std::uniform_int_distribution<std::size_t>(0, std::size(kAlphabet) - 1)(random)];
        return made;
    };
    int foundCount = 0;
    for (int round = 0, rounds = support::Rounds(6'000); round < rounds; ++round) {
        const std::u16string in = text(10);
        const std::u16string find = round % 2 == 0 ? text(2) : in.substr(in.size() / 3, 1 + round % 3);
        for (const CFStringCompareFlags flags :
             {CFStringCompareFlags{0}, kCase, kNonliteral, kCase | kNonliteral}) {
            for (const bool isBackwards : {false, true}) {
                const auto expected = FindByTrying(in, find, flags, isBackwards);
                const CFRange found = Found(in, find, flags | (isBackwards ? kBackwards : 0));
                ASSERT_EQ(expected.value_or(kNowhere), found)
                    << testing::PrintToString(in) << " " << testing::PrintToString(find) << " flags " << flags
                    << (isBackwards ? " backwards" : "");
                foundCount += expected.has_value() ? 1 : 0;
            }
        }
    }
    EXPECT_GT(foundCount, 3'000) << "else little was tried";
}

// One found after the other, in what remains.
TEST(FindAndReplace, AsFindingOneAfterTheOther) {
    constexpr char16_t kAlphabet[] = {u'a',   u'A', u'b',   0x00E9, u'e',  0x0301,
                                      0x00DF, u's', 0xD801, 0xDC00, 0xFF21};
    std::mt19937 random(13);
    const auto below = [&random](std::size_t inLimit) {
        return std::uniform_int_distribution<std::size_t>(0, inLimit - 1)(random);
    };
    const auto text = [&](std::size_t inLength) {
        std::u16string made(inLength, u' ');
        for (char16_t& unit : made)
            unit = kAlphabet[below(std::size(kAlphabet))];
        return made;
    };
    CFIndex replacedCount = 0;
    for (int round = 0, rounds = support::Rounds(20'000); round < rounds; ++round) {
        const std::u16string in = text(below(12));
        const std::u16string find = text(below(8) == 0 ? 0 : 1 + below(4) / 3);
        const std::u16string with = text(below(4));
        const CFStringCompareFlags flags = below(2) * kCase | below(2) * kNonliteral | below(2) * kAnchored |
                                           below(2) * kMarks | below(2) * kWidth;
        const auto start = static_cast<CFIndex>(below(in.size() + 1) / 3);
        const CFIndex end =
            start + static_cast<CFIndex>(below(in.size() - static_cast<std::size_t>(start) + 1));
        std::u16string expected;
        CFIndex position = start;
        CFIndex copied = 0;
        CFIndex count = 0;
        CFRange found = {0, 0};
        while (CFStringFindWithOptions(StringOf(in).get(), StringOf(find).get(),
                                       CFRangeMake(position, end - position), flags, &found)) {
            expected.append(in, static_cast<std::size_t>(copied),
                            static_cast<std::size_t>(found.location - copied));
            expected += with;
            position = copied = found.location + found.length;
            ++count;
        }
        expected.append(in, static_cast<std::size_t>(copied));
        ASSERT_EQ((Replacement{expected, count}),
                  ReplacedIn(in, find, with, CFRangeMake(start, end - start), flags))
            << testing::PrintToString(in) << " " << testing::PrintToString(find) << " flags " << flags;
        replacedCount += count;
    }
    EXPECT_GT(replacedCount, 1'000) << "else little was tried";
}

TEST(Find, WithoutMemory) {
    const std::u16string text = std::u16string(300, u'\u00E9') + u"\u00DFx";
    const OwnedString string = StringOf(text);
    const OwnedString find = StringOf(u"SSX");
    const int faultCount = faults::FailEachCall(
        [&] { return CFStringFind(string.get(), find.get(), kCase | kNonliteral | kWidth).location == 300; });
    EXPECT_GT(faultCount, 300) << "every piece asks something of ICU";
    EXPECT_EQ(0, faults::FailEachCall(
                     [&] { return CFStringFind(string.get(), find.get(), 0).location == kCFNotFound; }));
    const int replacing = faults::FailEachCall([&text] {
        const OwnedMutable changed(CFStringCreateMutable(nullptr, 0));
        if (changed == nullptr) return false;
        CFStringAppendCharacters(changed.get(), reinterpret_cast<const UniChar*>(text.data()),
                                 static_cast<CFIndex>(text.size()));
        const std::u16string before = TextOf(changed);
        const CFIndex count = CFStringFindAndReplace(changed.get(), CFSTR("\u00E9"), CFSTR("12"),
                                                     CFRangeMake(0, CFStringGetLength(changed.get())), 0);
        if (count == 0) {
            EXPECT_EQ(before, TextOf(changed));
            return false;
        }
        EXPECT_EQ(602U, TextOf(changed).size());
        return count == 300;
    });
    EXPECT_GT(replacing, 5);
}
