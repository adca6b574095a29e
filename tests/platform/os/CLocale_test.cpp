#include "os/CLocale.h"

#include "os/CLocale_test_access.h"
#include "os/ErrorText.h"
#include "support/FailingCalls.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

using namespace toolbox::os;
using test_files::FailingCalls;

TEST(CLocale, IsMadeOnce) {
    ForgetCLocaleForTesting();
    const locale_t made = GetCLocale();
    ASSERT_NE(nullptr, made);
    const FailingCalls failing(1, ENOMEM, FailingCalls::kForever);
    EXPECT_EQ(made, GetCLocale());
    EXPECT_FALSE(failing.Delivered());
}

TEST(CLocale, AFailureIsNotKept) {
    ForgetCLocaleForTesting();
    {
        const FailingCalls failing(1, ENOMEM, FailingCalls::kForever);
        EXPECT_EQ(nullptr, GetCLocale());
        EXPECT_STREQ("", GetErrorText(ENXIO));
        EXPECT_FALSE(CLocaleOnThread().IsSet());
    }
    EXPECT_STREQ("No such device or address", GetErrorText(ENXIO));
    EXPECT_TRUE(CLocaleOnThread().IsSet());
}

TEST(CLocale, WhoComesSecondFreesHis) {
    static SystemCalls sReal;
    static locale_t sFirst;
    static locale_t sFreed;
    sReal = Calls();
    ForgetCLocaleForTesting();
    CallsForTesting().newlocale = [](int inMask, const char* inName, locale_t inBase) {
        CallsForTesting().newlocale = sReal.newlocale;
        sFirst = GetCLocale();  // another thread, just now
        return sReal.newlocale(inMask, inName, inBase);
    };
    CallsForTesting().freelocale = [](locale_t inLocale) {
        sFreed = inLocale;
        sReal.freelocale(inLocale);
    };
    EXPECT_EQ(sFirst, GetCLocale());
    EXPECT_NE(nullptr, sFreed);
    CallsForTesting() = sReal;
}

TEST(CLocale, OnTheThreadForAWhile) {
    const locale_t before = uselocale(nullptr);
    {
        const CLocaleOnThread locale;
        ASSERT_TRUE(locale.IsSet());
        EXPECT_EQ(GetCLocale(), uselocale(nullptr));
    }
    EXPECT_EQ(before, uselocale(nullptr));
    {
        const FailingCalls failing(1, EINVAL);
        const CLocaleOnThread locale;
        EXPECT_FALSE(locale.IsSet());
        EXPECT_TRUE(failing.Delivered());
        EXPECT_EQ(before, uselocale(nullptr));
    }
    EXPECT_EQ(before, uselocale(nullptr));
}

}  // namespace
