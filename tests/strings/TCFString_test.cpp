#include "fakes/Calls.h"
#include "fakes/Text.h"
#include "support/Rounds.h"

#include <gtest/gtest.h>
#include <strings/TCFString.h>

#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <utility>

namespace {

static_assert(std::is_standard_layout_v<TCFString> && !std::is_polymorphic_v<TCFString>);
static_assert(sizeof(TCFString) == sizeof(CFStringRef));

class TCFStringTest : public ::testing::Test {
  protected:
    TCFStringTest() { fakes::StartScenario(); }
    ~TCFStringTest() override {
        EXPECT_EQ(mLiveStrings, fakes::LiveStrings());
        EXPECT_TRUE(fakes::Misuses().empty());
    }

  private:
    int mLiveStrings = fakes::LiveStrings();
};

TCFString ASCII(const char* inText) {
    return TCFString(inText, kCFStringEncodingASCII);
}
CFIndex Count(const TCFString& inString) {
    return CFGetRetainCount(inString.StringRef());
}
CFStringRef NewString(const char* inText) {
    return CFStringCreateWithCString(kCFAllocatorDefault, inText, kCFStringEncodingASCII);
}
bool IsTheEmptyString(const TCFString& inString) {
    return inString.StringRef() == TCFString::EmptyCFString() && inString.IsEmpty();
}

TEST_F(TCFStringTest, LoadTimeConstants) {
    EXPECT_TRUE(IsTheEmptyString(TCFString::Empty));
    EXPECT_EQ(0, TCFString::Empty.Length());
    EXPECT_STREQ("<CANNOT DISPLAY>", TCFString::kCannotDisplayCString);
    EXPECT_EQ(16, TCFString::kCannotDisplayString[0]);
    EXPECT_EQ("<CANNOT DISPLAY>",
              std::string(reinterpret_cast<const char*>(TCFString::kCannotDisplayString + 1), 16));
    EXPECT_EQ(TCFString::kCannotDisplayCFString, ASCII("<CANNOT DISPLAY>"));
}

TEST_F(TCFStringTest, DefaultEncodingIsAskedOnceInAProcess) {
    EXPECT_EQ(kCFStringEncodingUTF8, TCFString::DefaultEncoding());
    EXPECT_EQ(kCFStringEncodingUTF8, TCFString::DefaultEncoding());
    EXPECT_EQ(1, fakes::ApplicationEncodingAskedCount());
}

TEST_F(TCFStringTest, DefaultIsTheSharedEmptyString) {
    const TCFString first, second;
    EXPECT_TRUE(IsTheEmptyString(first));
    EXPECT_EQ(first.StringRef(), second.StringRef());
    EXPECT_TRUE(first == second);
    EXPECT_FALSE(first != second);
    EXPECT_TRUE(fakes::CallsOf({"CFStringCompare"}).empty());
}

TEST_F(TCFStringTest, CopyIsTheSameObjectRetained) {
    const TCFString source = ASCII("abc");
    const CFIndex count = Count(source);
    {
        const TCFString copy(source);
        EXPECT_EQ(source.StringRef(), copy.StringRef());
        EXPECT_EQ(count + 1, Count(source));
    }
    EXPECT_EQ(count, Count(source));
}

TEST_F(TCFStringTest, ConstructorRetainsAReference) {
    const CFStringRef reference = NewString("abc");
    {
        const TCFString string(reference);
        EXPECT_EQ(reference, string.StringRef());
        EXPECT_EQ(2, CFGetRetainCount(reference));
    }
    EXPECT_EQ(1, CFGetRetainCount(reference));
    CFRelease(reference);
}

TEST_F(TCFStringTest, NullReferenceIsEmpty) {
    const TCFString string(nullptr);
    EXPECT_TRUE(string.IsEmpty());
    EXPECT_NE(nullptr, string.StringRef());
    EXPECT_TRUE(IsTheEmptyString(string));
}

TEST_F(TCFStringTest, FromACString) {
    const TCFString roman("caf\x8E", kCFStringEncodingMacRoman);
    EXPECT_EQ(4, roman.Length());
    EXPECT_EQ(0x00E9, roman.Char(3));
    const TCFString utf8("caf\xC3\xA9", kCFStringEncodingUTF8);
    EXPECT_TRUE(roman == utf8);
    EXPECT_EQ(1, Count(roman));
}

TEST_F(TCFStringTest, FromACStringThatTheEncodingCannotConvert) {
    EXPECT_TRUE(IsTheEmptyString(TCFString("\xFF", kCFStringEncodingASCII)));
    EXPECT_TRUE(IsTheEmptyString(TCFString("\xC3", kCFStringEncodingUTF8)));
    EXPECT_TRUE(IsTheEmptyString(TCFString(static_cast<const char*>(nullptr), kCFStringEncodingASCII)));
}

TEST_F(TCFStringTest, FromAPascalString) {
    const auto* const text = reinterpret_cast<const unsigned char*>("\3abcdef");
    EXPECT_TRUE(TCFString(text, kCFStringEncodingASCII) == ASCII("abc"));
    const auto* const bad = reinterpret_cast<const unsigned char*>("\2a\xFF");
    EXPECT_TRUE(IsTheEmptyString(TCFString(bad, kCFStringEncodingASCII)));
    const auto* const empty = reinterpret_cast<const unsigned char*>("\0");
    EXPECT_TRUE(TCFString(empty, kCFStringEncodingASCII).IsEmpty());
}

TEST_F(TCFStringTest, FromAFileName) {
    HFSUniStr255 name;
    name.length = 2;
    name.unicode[0] = 'h';
    name.unicode[1] = 0xD800;
    const TCFString string(name);
    EXPECT_EQ(2, string.Length());
    EXPECT_EQ(0xD800, string.Char(1));
    name.length = 0;
    EXPECT_TRUE(TCFString(name).IsEmpty());
    std::fill(std::begin(name.unicode), std::end(name.unicode), static_cast<UniChar>('x'));
    name.length = 255;
    EXPECT_EQ(255, TCFString(name).Length());
    name.length = 0xFFFF;
    EXPECT_EQ(255, TCFString(name).Length()) << "a record never holds more";
}

TEST_F(TCFStringTest, FailedCreationsAreEmpty) {
    HFSUniStr255 name = {};
    name.length = 1;
    const auto* const pascal = reinterpret_cast<const unsigned char*>("\1a");
    const TCFString source = ASCII("abc");
    fakes::FailCall(1);
    EXPECT_TRUE(IsTheEmptyString(ASCII("abc")));
    fakes::FailCall(1);
    EXPECT_TRUE(IsTheEmptyString(TCFString(pascal, kCFStringEncodingASCII)));
    fakes::FailCall(1);
    EXPECT_TRUE(IsTheEmptyString(TCFString(name)));
    fakes::FailCall(1);
    EXPECT_TRUE(IsTheEmptyString(source.Substring(0, 1)));
    EXPECT_TRUE(fakes::FailureDelivered());
}

TEST_F(TCFStringTest, AssignmentRetainsTheNewAndReleasesTheOld) {
    TCFString target = ASCII("old");
    const TCFString old(target);
    const TCFString source = ASCII("new");
    EXPECT_EQ(&target, &(target = source));
    EXPECT_EQ(source.StringRef(), target.StringRef());
    EXPECT_EQ(2, Count(source));
    EXPECT_EQ(1, Count(old));
}

TEST_F(TCFStringTest, AssignmentToItselfOrACopyChangesNoCount) {
    TCFString string = ASCII("abc");
    const TCFString& itself = string;
    string = itself;
    EXPECT_EQ(1, Count(string));
    const TCFString copy(string);
    string = copy;
    EXPECT_EQ(2, Count(string));
}

TEST_F(TCFStringTest, AssignmentOfEmpty) {
    TCFString string = ASCII("abc");
    string = TCFString::Empty;
    EXPECT_TRUE(IsTheEmptyString(string));
}

TEST_F(TCFStringTest, AdoptTakesOverTheReference) {
    const CFStringRef reference = NewString("abc");
    TCFString string = ASCII("old");
    const TCFString old(string);
    string.Adopt(reference);
    EXPECT_EQ(reference, string.StringRef());
    EXPECT_EQ(1, CFGetRetainCount(reference));
    EXPECT_EQ(1, Count(old));
}

TEST_F(TCFStringTest, AdoptOfTheReferenceHeldDoesNothing) {
    TCFString string = ASCII("abc");
    CFRetain(string.StringRef());
    string.Adopt(string.StringRef());
    EXPECT_EQ(2, Count(string)) << "neither retained nor released";
    CFRelease(string.StringRef());
}

TEST_F(TCFStringTest, AdoptOfNullIsTheEmptyString) {
    TCFString string = ASCII("abc");
    string.Adopt(nullptr);
    EXPECT_TRUE(IsTheEmptyString(string));
    EXPECT_EQ(TCFString::Empty.StringRef(), string.StringRef());
}

TEST_F(TCFStringTest, EnsureNonNullRefKeepsAString) {
    TCFString string = ASCII("abc");
    string.EnsureNonNullRef();
    EXPECT_TRUE(string == ASCII("abc"));
    EXPECT_EQ(1, Count(string));
}

TEST_F(TCFStringTest, RetainGivesTheCallerACount) {
    const TCFString string = ASCII("abc");
    const CFStringRef reference = string.Retain();
    EXPECT_EQ(string.StringRef(), reference);
    EXPECT_EQ(2, Count(string));
    CFRelease(reference);
    EXPECT_EQ(1, Count(string));
}

TEST_F(TCFStringTest, LengthAndCharacters) {
    const TCFString string("a\xE2\x82\xAC", kCFStringEncodingUTF8);
    EXPECT_EQ(2, string.Length());
    EXPECT_FALSE(string.IsEmpty());
    EXPECT_EQ('a', string.Char(0));
    EXPECT_EQ(0x20AC, string.Char(1));
}

TEST_F(TCFStringTest, Substring) {
    const TCFString string = ASCII("0123456789");
    EXPECT_TRUE(string.Substring(2, 3) == ASCII("234"));
    EXPECT_TRUE(string.Substring(0, 10) == string);
    EXPECT_TRUE(string.Substring(10, 0).IsEmpty());
    EXPECT_EQ(1, Count(string.Substring(1, 1)));
}

TEST_F(TCFStringTest, SubstringIsOfTheRangeAsItIsGiven) {
    const TCFString string = ASCII("0123456789");
    const TCFString part = string.Substring(8, 100);
    EXPECT_EQ("CFStringCreateWithSubstring(8, 100)", fakes::CallLog().back());
    EXPECT_TRUE(part == ASCII("89"));
}

TEST_F(TCFStringTest, EveryEmptyStringThatIsMadeIsTheOne) {
    const auto* const none = reinterpret_cast<const unsigned char*>("");
    const TCFString string = ASCII("abc");
    const TCFString b = ASCII("b"), all = ASCII("abc");
    const CFRange whole = CFRangeMake(0, 3);
    for (const TCFString& made :
         {ASCII(""), TCFString(none, kCFStringEncodingASCII), TCFString(HFSUniStr255{}),
          TCFString::WithBytes(none, 0, kCFStringEncodingASCII, false), TCFString::CFPrintf(CFSTR("")),
          TCFString::Empty + TCFString::Empty, string.Substring(1, 0),
          string.Replace(whole, TCFString::Empty), string.ReplaceSubstring(all, TCFString::Empty, 0),
          string.FindAndReplace(all, TCFString::Empty, whole, 0), string.HFSName(3).Substring(3, 0),
          ASCII(".profile").RemoveSuffix(), ASCII("README").Suffix(), TCFString::Empty.Uppercase(),
          TCFString::Empty.Lowercase(), TCFString::Empty.Capitalize(),
          TCFString::Empty.Normalize(kCFStringNormalizationFormC), TCFString::Empty.HFSName(0),
          ASCII("^0").PlugParams(b, b, b, b).ReplaceSubstring(b, TCFString::Empty, 0)}) {
        EXPECT_TRUE(IsTheEmptyString(made));
    }
}

TEST_F(TCFStringTest, AnEmptyReferenceIsHeldAsItWasPassed) {
    const CFStringRef passed = NewString("");
    ASSERT_NE(TCFString::EmptyCFString(), passed);
    {
        const TCFString string(passed);
        EXPECT_EQ(passed, string.StringRef());
        EXPECT_EQ(passed, TCFString(string).StringRef());
        EXPECT_TRUE(string == TCFString::Empty);
        EXPECT_EQ(2, CFGetRetainCount(passed));
    }
    TCFString adopted;
    adopted.Adopt(passed);
    EXPECT_EQ(passed, adopted.StringRef());
    EXPECT_EQ(1, CFGetRetainCount(passed));
}

TEST_F(TCFStringTest, Comparison) {
    EXPECT_EQ(kCFCompareLessThan, ASCII("abc").CompareTo(ASCII("abd"), 0));
    EXPECT_EQ(kCFCompareEqualTo, ASCII("abc").CompareTo(ASCII("abc"), 0));
    EXPECT_EQ(kCFCompareGreaterThan, ASCII("abc").CompareTo(ASCII("abB"), 0));
    EXPECT_EQ(kCFCompareEqualTo, ASCII("abc").CompareTo(ASCII("ABC"), kCFCompareCaseInsensitive));
}

TEST_F(TCFStringTest, EqualityIsExact) {
    EXPECT_FALSE(ASCII("abc") == ASCII("ABC"));
    EXPECT_TRUE(ASCII("abc") != ASCII("ABC"));
    EXPECT_TRUE(ASCII("abc") == ASCII("abc"));
    EXPECT_FALSE(ASCII("abc") != ASCII("abc"));
    EXPECT_FALSE(ASCII("abc") == TCFString::Empty);
}

TEST_F(TCFStringTest, IdenticalStringsAreEqualWithoutComparing) {
    const TCFString string = ASCII("abc");
    const TCFString copy(string);
    EXPECT_TRUE(string == copy);
    EXPECT_FALSE(string != copy);
    EXPECT_TRUE(fakes::CallsOf({"CFStringCompare"}).empty());
    EXPECT_TRUE(string == ASCII("abc"));
    EXPECT_EQ(1u, fakes::CallsOf({"CFStringCompare"}).size());
}

std::pair<long, long> Checked(const TCFString& inString, long inLocation, long inLength) {
    const CFRange range = inString.CheckRange(CFRangeMake(inLocation, inLength));
    return {range.location, range.length};
}

TEST_F(TCFStringTest, CheckRangeOnTenUnits) {
    const TCFString string = ASCII("0123456789");
    using Range = std::pair<long, long>;
    EXPECT_EQ(Range(0, 7), Checked(string, -2, 5)) << "widened, not shortened";
    EXPECT_EQ(Range(0, 10), Checked(string, -20, 5));
    EXPECT_EQ(Range(9, 0), Checked(string, 12, 3));
    EXPECT_EQ(Range(9, 0), Checked(string, 10, 3));
    EXPECT_EQ(Range(4, 0), Checked(string, 4, -1));
    EXPECT_EQ(Range(8, 2), Checked(string, 8, 5));
    EXPECT_EQ(Range(9, 1), Checked(string, 9, 1));
    EXPECT_EQ(Range(0, 10), Checked(string, 0, 10));
    EXPECT_EQ(Range(0, 0), Checked(string, -2, -5));
    EXPECT_EQ(Range(0, 1), Checked(string, -2, -1));
    EXPECT_EQ(Range(3, 4), Checked(string, 3, 4));
}

TEST_F(TCFStringTest, CheckRangeLeavesItsArgument) {
    const CFRange range = CFRangeMake(-1, 100);
    TCFString::Empty.CheckRange(range);
    EXPECT_EQ(-1, range.location);
    EXPECT_EQ(100, range.length);
}

TEST_F(TCFStringTest, CheckRangeOnTheEmptyString) {
    using Range = std::pair<long, long>;
    EXPECT_EQ(Range(0, 0), Checked(TCFString::Empty, 3, 2));
    EXPECT_EQ(Range(0, 0), Checked(TCFString::Empty, 0, 0));
    EXPECT_EQ(Range(0, 0), Checked(TCFString::Empty, -3, 2));
}

TEST_F(TCFStringTest, CheckRangeIsAlwaysInside) {
    constexpr long kMax = std::numeric_limits<long>::max();
    constexpr long kMin = std::numeric_limits<long>::min();
    std::mt19937 random(17);
    const auto pick = [&random] {
        constexpr long kEdges[] = {kMin, kMin + 1, -11, -10, -1, 0, 1, 5, 9, 10, 11, kMax - 1, kMax};
        return kEdges[random() % std::size(kEdges)];
    };
    const TCFString strings[] = {TCFString::Empty, ASCII("x"), ASCII("01234"), ASCII("0123456789")};
    for (int i = 0, rounds = support::Rounds(5000); i < rounds; ++i) {
        const TCFString& string = strings[random() % std::size(strings)];
        const long location = pick(), length = pick();
        const CFRange range = string.CheckRange(CFRangeMake(location, length));
        EXPECT_GE(range.location, 0) << location << " " << length;
        EXPECT_GE(range.length, 0) << location << " " << length;
        EXPECT_LE(range.location, string.Length()) << location << " " << length;
        EXPECT_LE(range.length, string.Length() - range.location) << location << " " << length;
    }
}

}  // namespace
