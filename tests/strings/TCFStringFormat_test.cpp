#include "OnDoubles.h"

namespace {

class TCFStringFormatTest : public OnDoubles {};

TEST_F(TCFStringFormatTest, CFPrintf) {
    const TCFString name = Units(u"x.txt");
    EXPECT_EQ(u"open x.txt 7!", UnitsOf(TCFString::CFPrintf(CFSTR("open %@ %lu!"), name.StringRef(), 7UL)));
    EXPECT_TRUE(TCFString::CFPrintf(CFSTR("")).IsEmpty());
    EXPECT_EQ(1, CFGetRetainCount(TCFString::CFPrintf(CFSTR("a")).StringRef()));
}

TEST_F(TCFStringFormatTest, Int) {
    EXPECT_EQ(u"0", UnitsOf(TCFString::Int(0)));
    EXPECT_EQ(u"7", UnitsOf(TCFString::Int(7)));
    EXPECT_EQ(u"2147483648", UnitsOf(TCFString::Int(2147483648)));
    EXPECT_EQ(u"4294967295", UnitsOf(TCFString::Int(4294967295)));
    if constexpr (sizeof(unsigned long) == 8) {
        EXPECT_EQ(u"4294967296", UnitsOf(TCFString::Int(4294967295UL + 1)));
        EXPECT_EQ(u"18446744073709551615", UnitsOf(TCFString::Int(~0UL)));
    }
}

TEST_F(TCFStringFormatTest, Concatenation) {
    EXPECT_EQ(u"abcd", UnitsOf(Units(u"ab") + Units(u"cd")));
    EXPECT_EQ(u"a", UnitsOf(TCFString::Empty + Units(u"a")));
    EXPECT_EQ(u"a", UnitsOf(Units(u"a") + TCFString::Empty));
    EXPECT_TRUE((TCFString::Empty + TCFString::Empty).IsEmpty());
    EXPECT_EQ(u"%@%lu", UnitsOf(Units(u"%@") + Units(u"%lu"))) << "arguments are no formats";
    const TCFString twice = Units(u"ab");
    EXPECT_EQ(u"abab", UnitsOf(twice + twice));
}

TEST_F(TCFStringFormatTest, WhatCannotBeCreatedIsEmpty) {
    const TCFString left = Units(u"a"), right = Units(u"b");
    fakes::FailCall(1);
    EXPECT_TRUE(IsTheEmptyString(left + right));
    fakes::FailCall(1);
    EXPECT_TRUE(IsTheEmptyString(TCFString::Int(1)));
    fakes::FailCall(1);
    EXPECT_TRUE(IsTheEmptyString(TCFString::CFPrintf(CFSTR("a"))));
    EXPECT_TRUE(fakes::FailureDelivered());
}

TEST_F(TCFStringFormatTest, Moment) {
    const TCFString moment(86400.0, kCFDateFormatterLongStyle, kCFDateFormatterShortStyle);
    EXPECT_EQ(u"3/1 86400", UnitsOf(moment));
    EXPECT_EQ(1, CFGetRetainCount(moment.StringRef()));
    EXPECT_TRUE(WasCalled(fakes::CallText("CFDateFormatterCreate", 3, 1)));
}

TEST_F(TCFStringFormatTest, MomentWhenAnyStepFails) {
    int failures = 0;
    for (;; ++failures) {
        fakes::FailCall(failures + 1);
        const TCFString moment(0.0, kCFDateFormatterNoStyle, kCFDateFormatterFullStyle);
        if (!fakes::FailureDelivered()) break;
        EXPECT_TRUE(IsTheEmptyString(moment)) << "call " << failures + 1;
    }
    EXPECT_EQ(3, failures) << "locale, formatter and text";
}

}  // namespace
