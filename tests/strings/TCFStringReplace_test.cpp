#include "OnDoubles.h"

namespace {

class TCFStringReplaceTest : public OnDoubles {};

using Range = std::pair<long, long>;

Range AsPair(CFRange inRange) {
    return {inRange.location, inRange.length};
}

bool IsCopy(const TCFString& inResult, const TCFString& inString) {
    return inResult.StringRef() == inString.StringRef();
}

TEST_F(TCFStringReplaceTest, HasPrefix) {
    const TCFString string = Units(u"abc");
    EXPECT_FALSE(string.HasPrefix(Units(u"AB"), false));
    EXPECT_TRUE(string.HasPrefix(Units(u"AB"), true));
    EXPECT_TRUE(string.HasPrefix(Units(u"ab"), false));
    EXPECT_TRUE(string.HasPrefix(Units(u"abc"), false));
    EXPECT_FALSE(string.HasPrefix(Units(u"abcd"), false));
    EXPECT_FALSE(string.HasPrefix(Units(u"abcd"), true));
    EXPECT_FALSE(string.HasPrefix(Units(u"bc"), true));
    EXPECT_TRUE(string.HasPrefix(TCFString::Empty, false));
    EXPECT_TRUE(TCFString::Empty.HasPrefix(TCFString::Empty, true));
    EXPECT_FALSE(TCFString::Empty.HasPrefix(Units(u"a"), true));
}

TEST_F(TCFStringReplaceTest, HasPrefixComparesTheFrontWithTheFlagOfItsCase) {
    const TCFString string = Units(u"abc");
    string.HasPrefix(Units(u"ab"), true);
    EXPECT_TRUE(WasCalled(fakes::CallText("CFStringCompareWithOptions", 0, 2, 1)));
    string.HasPrefix(Units(u"a"), false);
    EXPECT_TRUE(WasCalled(fakes::CallText("CFStringCompareWithOptions", 0, 1, 0)));
}

TEST_F(TCFStringReplaceTest, HasSuffix) {
    EXPECT_TRUE(Units(u"a.txt").HasSuffix(Units(u".TXT"))) << "always without regard to case";
    EXPECT_TRUE(Units(u"a.txt").HasSuffix(Units(u"a.txt")));
    EXPECT_FALSE(Units(u"a.txt.x").HasSuffix(Units(u".txt")));
    EXPECT_FALSE(Units(u".txt").HasSuffix(Units(u"a.txt")));
    EXPECT_FALSE(TCFString::Empty.HasSuffix(Units(u"a")));
}

TEST_F(TCFStringReplaceTest, HasSuffixSearchesTheWholeFromItsEnd) {
    Units(u"a.txt").HasSuffix(Units(u".TXT"));
    EXPECT_TRUE(WasCalled(fakes::CallText("CFStringFindWithOptions", 0, 5, 13)));
}

TEST_F(TCFStringReplaceTest, Find) {
    const TCFString string = Units(u"banana");
    EXPECT_EQ(Range(1, 2), AsPair(string.Find(Units(u"an"), 0)));
    EXPECT_EQ(Range(3, 2), AsPair(string.Find(Units(u"an"), kCFCompareBackwards)));
    EXPECT_EQ(Range(1, 2), AsPair(string.Find(Units(u"AN"), kCFCompareCaseInsensitive)));
    EXPECT_EQ(-1, string.Find(Units(u"AN"), 0).location);
    EXPECT_EQ(-1, string.Find(Units(u"an"), kCFCompareAnchored).location);
    EXPECT_EQ(-1, TCFString::Empty.Find(Units(u"a"), 0).location);
    EXPECT_EQ(-1, string.Find(TCFString::Empty, 0).location);
}

TEST_F(TCFStringReplaceTest, FindInRange) {
    const TCFString string = Units(u"banana"), an = Units(u"an");
    EXPECT_EQ(Range(3, 2), AsPair(string.FindInRange(CFRangeMake(2, 4), an, 0)));
    EXPECT_EQ(Range(1, 2), AsPair(string.FindInRange(CFRangeMake(0, 4), an, kCFCompareBackwards)));
    EXPECT_EQ(Range(-1, -1), AsPair(string.FindInRange(CFRangeMake(2, 2), an, 0)));
    EXPECT_EQ(Range(-1, -1), AsPair(string.FindInRange(CFRangeMake(0, 0), an, 0)));
    EXPECT_EQ(Range(-1, -1), AsPair(TCFString::Empty.FindInRange(CFRangeMake(0, 9), an, 0)));
}

TEST_F(TCFStringReplaceTest, FindInRangeBringsTheRangeInside) {
    const TCFString string = Units(u"banana"), an = Units(u"an");
    EXPECT_EQ(Range(3, 2), AsPair(string.FindInRange(CFRangeMake(2, 100), an, 0)));
    EXPECT_EQ(Range(1, 2), AsPair(string.FindInRange(CFRangeMake(-2, 1), an, 0))) << "widened to (0, 3)";
    EXPECT_EQ(Range(-1, -1), AsPair(string.FindInRange(CFRangeMake(6, 2), an, 0)));
    EXPECT_EQ(Range(-1, -1), AsPair(string.FindInRange(CFRangeMake(1, -3), an, 0)));
}

TEST_F(TCFStringReplaceTest, Replace) {
    const TCFString string = Units(u"abcdef"), with = Units(u"XY");
    EXPECT_EQ(u"abXYef", UnitsOf(string.Replace(CFRangeMake(2, 2), with)));
    EXPECT_EQ(u"abcdXY", UnitsOf(string.Replace(CFRangeMake(4, 100), with)));
    EXPECT_EQ(u"XY", UnitsOf(string.Replace(CFRangeMake(0, 6), with)));
    EXPECT_EQ(u"XYabcdef", UnitsOf(string.Replace(CFRangeMake(0, 0), with)));
    EXPECT_EQ(u"abcdef", UnitsOf(string.Replace(CFRangeMake(3, 0), TCFString::Empty)));
    EXPECT_EQ(u"", UnitsOf(string.Replace(CFRangeMake(0, 6), TCFString::Empty)));
    EXPECT_EQ(u"abcdef", UnitsOf(string)) << "the string itself stays";
}

TEST_F(TCFStringReplaceTest, ReplaceAtAndPastTheEndLiesBeforeTheLastUnit) {
    const TCFString with = Units(u"X");
    EXPECT_EQ(u"abXc", UnitsOf(Units(u"abc").Replace(CFRangeMake(3, 0), with)));
    EXPECT_EQ(u"abXc", UnitsOf(Units(u"abc").Replace(CFRangeMake(100, 5), with)));
    EXPECT_EQ(u"X", UnitsOf(TCFString::Empty.Replace(CFRangeMake(100, 5), with)));
}

TEST_F(TCFStringReplaceTest, ReplaceOfANegativeRangeIsACopy) {
    const TCFString string = Units(u"abcdef"), with = Units(u"X");
    EXPECT_TRUE(IsCopy(string.Replace(CFRangeMake(-1, 2), with), string));
    EXPECT_TRUE(IsCopy(string.Replace(CFRangeMake(1, -2), with), string));
    EXPECT_TRUE(fakes::CallsOf({"CFStringCreateMutableCopy"}).empty());
}

TEST_F(TCFStringReplaceTest, ReplaceSubstring) {
    const TCFString string = Units(u"banana"), a = Units(u"a"), b = Units(u"b");
    EXPECT_EQ(u"bbnana", UnitsOf(string.ReplaceSubstring(a, b, 0)));
    EXPECT_EQ(u"bananb", UnitsOf(string.ReplaceSubstring(a, b, kCFCompareBackwards)));
    EXPECT_EQ(u"bbnana", UnitsOf(string.ReplaceSubstring(Units(u"A"), b, kCFCompareCaseInsensitive)));
    EXPECT_EQ(u"bnana", UnitsOf(string.ReplaceSubstring(a, TCFString::Empty, 0)));
    EXPECT_TRUE(IsCopy(string.ReplaceSubstring(Units(u"x"), b, 0), string));
    EXPECT_TRUE(IsCopy(string.ReplaceSubstring(TCFString::Empty, b, 0), string));
}

TEST_F(TCFStringReplaceTest, FindAndReplace) {
    const TCFString string = Units(u"banana"), a = Units(u"a"), b = Units(u"b");
    EXPECT_EQ(u"bbnbnb", UnitsOf(string.FindAndReplace(a, b, CFRangeMake(0, 6), 0)));
    EXPECT_EQ(u"bbnana", UnitsOf(string.FindAndReplace(a, b, CFRangeMake(0, 2), 0)));
    EXPECT_EQ(u"banbnb", UnitsOf(string.FindAndReplace(a, b, CFRangeMake(2, 100), 0)));
    EXPECT_EQ(u"bnn", UnitsOf(string.FindAndReplace(a, TCFString::Empty, CFRangeMake(0, 6), 0)));
    EXPECT_EQ(1, CFGetRetainCount(string.FindAndReplace(a, b, CFRangeMake(0, 6), 0).StringRef()));
    EXPECT_EQ(u"banana", UnitsOf(string));
}

TEST_F(TCFStringReplaceTest, FindAndReplaceOfNothingIsACopy) {
    const TCFString string = Units(u"banana"), a = Units(u"a"), b = Units(u"b");
    EXPECT_TRUE(IsCopy(string.FindAndReplace(Units(u"x"), b, CFRangeMake(0, 6), 0), string));
    EXPECT_TRUE(IsCopy(string.FindAndReplace(a, b, CFRangeMake(0, 1), 0), string));
    EXPECT_TRUE(IsCopy(string.FindAndReplace(a, b, CFRangeMake(-1, 6), 0), string));
    EXPECT_TRUE(IsCopy(string.FindAndReplace(a, b, CFRangeMake(0, -1), 0), string));
    EXPECT_TRUE(IsCopy(string.FindAndReplace(a, b, CFRangeMake(6, 1), 0), string));
}

TEST_F(TCFStringReplaceTest, FindAndReplaceHandsItsFlagsOn) {
    static_cast<void>(Units(u"bAnana").FindAndReplace(Units(u"A"), Units(u"b"), CFRangeMake(0, 9),
                                                      kCFCompareCaseInsensitive));
    EXPECT_TRUE(WasCalled(fakes::CallText("CFStringFindAndReplace", 0, 6, 1)));
}

TEST_F(TCFStringReplaceTest, WithoutMemoryReplacingIsACopy) {
    const TCFString string = Units(u"banana"), a = Units(u"a"), b = Units(u"b");
    fakes::FailCall(1);
    EXPECT_TRUE(IsCopy(string.Replace(CFRangeMake(0, 1), b), string));
    fakes::FailCall(1);
    EXPECT_TRUE(IsCopy(string.ReplaceSubstring(a, b, 0), string));
    fakes::FailCall(1);
    EXPECT_TRUE(IsCopy(string.FindAndReplace(a, b, CFRangeMake(0, 6), 0), string));
    EXPECT_TRUE(fakes::FailureDelivered());
}

TEST_F(TCFStringReplaceTest, PlugParams) {
    const TCFString empty, x = Units(u"x"), z = Units(u"z");
    EXPECT_EQ(u"x-^1-z-^0", UnitsOf(Units(u"^0-^1-^2-^0").PlugParams(x, empty, z, empty)));
    EXPECT_EQ(u"dcba",
              UnitsOf(Units(u"^3^2^1^0").PlugParams(Units(u"a"), Units(u"b"), Units(u"c"), Units(u"d"))));
    EXPECT_EQ(u"^4^", UnitsOf(Units(u"^4^").PlugParams(x, x, x, x)));
    EXPECT_TRUE(TCFString::Empty.PlugParams(x, x, x, x).IsEmpty());
}

TEST_F(TCFStringReplaceTest, PlugParamsSearchesWhatItPutIn) {
    const TCFString empty;
    EXPECT_EQ(u"ab ^1", UnitsOf(Units(u"^0 ^1").PlugParams(Units(u"a^1"), Units(u"b"), empty, empty)))
        << "the mark put in comes first";
    EXPECT_EQ(u"^0", UnitsOf(Units(u"^1").PlugParams(Units(u"x"), Units(u"^0"), empty, empty)))
        << "but only by later parameters";
    EXPECT_EQ(u"^0", UnitsOf(Units(u"^0").PlugParams(Units(u"^0"), empty, empty, empty)));
    EXPECT_EQ(u"d", UnitsOf(Units(u"^0").PlugParams(Units(u"^1"), Units(u"^2"), Units(u"^3"), Units(u"d"))));
}

TEST_F(TCFStringReplaceTest, PlugParamsTakesAnyEmptyStringForAbsent) {
    const TCFString empty = Units(u"");
    ASSERT_FALSE(IsTheEmptyString(empty)) << "another object";
    const TCFString string = Units(u"^0^1^2^3");
    EXPECT_TRUE(IsCopy(string.PlugParams(empty, empty, empty, empty), string));
}

}  // namespace
