#include "OnDoubles.h"
#include "fakes/Collation.h"

#include <toolbox/MacErrors.h>

namespace {

class TCFStringCaseTest : public OnDoubles {};

TEST_F(TCFStringCaseTest, Case) {
    const TCFString string = Units(u"aB cD");
    EXPECT_EQ(u"AB CD", UnitsOf(string.Uppercase()));
    EXPECT_EQ(u"ab cd", UnitsOf(string.Lowercase()));
    EXPECT_EQ(u"Ab Cd", UnitsOf(string.Capitalize()));
    EXPECT_EQ(u"aB cD", UnitsOf(string));
    EXPECT_TRUE(TCFString::Empty.Uppercase().IsEmpty());
    EXPECT_EQ(1, CFGetRetainCount(string.Uppercase().StringRef()));
}

TEST_F(TCFStringCaseTest, CaseOfNoLanguage) {
    const TCFString string = Units(u"i");
    static_cast<void>(string.Uppercase());
    static_cast<void>(string.Lowercase());
    static_cast<void>(string.Capitalize());
    for (const char* const call : {"CFStringUppercase", "CFStringLowercase", "CFStringCapitalize"})
        EXPECT_TRUE(WasCalled(fakes::CallText(call, 0))) << call;
}

TEST_F(TCFStringCaseTest, Normalize) {
    EXPECT_EQ(u"cafe\u0301", UnitsOf(Units(u"caf\u00E9").Normalize(kCFStringNormalizationFormD)));
    EXPECT_EQ(u"caf\u00E9", UnitsOf(Units(u"cafe\u0301").Normalize(kCFStringNormalizationFormC)));
    for (CFStringNormalizationForm form = 0; form < 4; ++form) {
        static_cast<void>(Units(u"a").Normalize(form));
        EXPECT_TRUE(WasCalled(fakes::CallText("CFStringNormalize", form)));
    }
}

TEST_F(TCFStringCaseTest, WhatCannotBeCopiedIsEmpty) {
    const TCFString string = Units(u"a");
    TCFString (TCFString::*const kOperations[])()
        const = {&TCFString::Capitalize, &TCFString::Uppercase, &TCFString::Lowercase};
    for (const auto operation : kOperations) {
        fakes::FailCall(1);
        EXPECT_TRUE(IsTheEmptyString((string.*operation)()));
        EXPECT_TRUE(fakes::FailureDelivered());
    }
    fakes::FailCall(1);
    EXPECT_TRUE(IsTheEmptyString(string.Normalize(kCFStringNormalizationFormD)));
}

TEST_F(TCFStringCaseTest, FinderCompareToClampsTheOrder) {
    const TCFString left = Units(u"a"), right = Units(u"b");
    for (const SInt32 order : {2, 3, 4, 0x7FFFFFFF}) {
        fakes::ScriptCollation(noErr, order, false);
        EXPECT_EQ(1, left.FinderCompareTo(right, true)) << order;
        EXPECT_EQ(1, left.FinderCompareTo(right, false)) << order;
        fakes::ScriptCollation(noErr, -order, false);
        EXPECT_EQ(-1, left.FinderCompareTo(right, true)) << order;
        EXPECT_EQ(-1, left.FinderCompareTo(right, false)) << order;
    }
}

TEST_F(TCFStringCaseTest, FinderCompareToTakesOneStepForNoneUnlessStrict) {
    const TCFString left = Units(u"a"), right = Units(u"b");
    for (const SInt32 order : {-1, 1}) {
        fakes::ScriptCollation(noErr, order, false);
        EXPECT_EQ(order, left.FinderCompareTo(right, 1));
        EXPECT_EQ(order, left.FinderCompareTo(right, 255));
        EXPECT_EQ(0, left.FinderCompareTo(right, 0));
    }
}

TEST_F(TCFStringCaseTest, FinderCompareToOfEquivalentsAndFailures) {
    const TCFString left = Units(u"a"), right = Units(u"A");
    fakes::ScriptCollation(noErr, 3, true);
    EXPECT_EQ(0, left.FinderCompareTo(right, true)) << "the test of equivalence is on";
    fakes::ScriptCollation(noErr, 0, false);
    EXPECT_EQ(0, left.FinderCompareTo(right, true));
    fakes::ScriptCollation(paramErr, 3, false);
    EXPECT_EQ(0, left.FinderCompareTo(right, true));
}

TEST_F(TCFStringCaseTest, FinderCompareToAsksFor255UnitsWithoutRegardToCase) {
    Units(std::u16string(300, u'x')).FinderCompareTo(Units(u"y"), true);
    EXPECT_EQ(std::u16string(255, u'x'), fakes::LastCollation().text1);
    EXPECT_EQ(u"y", fakes::LastCollation().text2);
    EXPECT_TRUE(fakes::LastCollation().wantsEquivalence);
    EXPECT_EQ(0x38006u | 0x8u, fakes::LastCollation().options);
}

}  // namespace
