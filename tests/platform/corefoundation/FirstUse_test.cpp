// What happens once in a process, on first use, and may fail then: the tables of an encoding are made, and
// the order of the locale is looked up. A program of its own, so that its use is the first.
#include "CFSupport.h"

#include <corefoundation/CF_test_access.h>
#include <gtest/gtest.h>
#include <os/SystemCalls_test_access.h>
#include <toolbox/CFString.h>

#include <cstdlib>

namespace {

// While it lives, every call of ICU begins with a failure (any positive status is one).
class ICUFailure {
  public:
    ICUFailure() {
        toolbox::corefoundation::ICUCallsForTesting().startStatus = [] { return 7; };
    }
    ~ICUFailure() { toolbox::corefoundation::ICUCallsForTesting() = mSaved; }

  private:
    toolbox::corefoundation::ICUCalls mSaved = toolbox::corefoundation::ICUCallsForTesting();
};

}  // namespace

TEST(FirstUse, EncodingIsTriedAgain) {
    char buffer[8];
    {
        const ICUFailure failure;
        EXPECT_EQ(nullptr, StringOf("abc", kCFStringEncodingWindowsLatin1));
        EXPECT_FALSE(CFStringGetCString(CFSTR("abc"), buffer, 8, kCFStringEncodingWindowsLatin1));
        EXPECT_NE(nullptr, StringOf("abc", kCFStringEncodingNextStepLatin)) << "its table is our own";
    }
    EXPECT_EQ(u"\u20AC", TextOf(StringOf("\x80", kCFStringEncodingWindowsLatin1)));
    EXPECT_TRUE(CFStringGetCString(CFSTR("\u20AC"), buffer, 8, kCFStringEncodingWindowsLatin1));
    EXPECT_STREQ("\x80", buffer);
}

TEST(FirstUse, LocaleIsTheProcessesOwn) {
    setenv("LC_ALL", "sv_SE.UTF-8", 1);
    {
        const ICUFailure failure;
        EXPECT_EQ(kCFCompareGreaterThan, CFStringCompare(CFSTR("a"), CFSTR("B"), kCFCompareLocalized))
            << "by unit";
    }
    EXPECT_EQ(kCFCompareLessThan, CFStringCompare(CFSTR("a"), CFSTR("B"), kCFCompareLocalized));
    EXPECT_EQ(kCFCompareGreaterThan, CFStringCompare(CFSTR("\u00E4"), CFSTR("z"), kCFCompareLocalized))
        << "in Swedish the letter comes after z, elsewhere with a";
}
