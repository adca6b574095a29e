#include "catalogue/CatalogDates.h"

#include "companions/CompanionInfo.h"

#include <gtest/gtest.h>

namespace {

using namespace toolbox::files;
using toolbox::os::ItemStatus;
using toolbox::os::Moment;

TEST(CatalogDates, Moments) {
    EXPECT_TRUE(IsSameDate({0, 2'082'844'800, 0}, DateOf({0, 0})));
    EXPECT_TRUE(IsSameDate({0, 2'082'844'799, 0x8000}, DateOf({-1, 500'000'000})));
    EXPECT_TRUE(IsSameDate({0, 0, 0}, DateOf({-2'082'844'800, 0})));
    EXPECT_TRUE(IsSameDate({0, 0, 0}, DateOf({-2'082'844'801, 999'999'999}))) << "before 1904";
    EXPECT_TRUE(IsSameDate({1, 0, 0xFFFF}, DateOf({2'212'122'496, 999'999'999})));
    EXPECT_EQ(-2'082'844'800, MomentOf({}).seconds);
    EXPECT_EQ(2'212'122'496, MomentOf({1, 0, 0}).seconds);
}

TEST(CatalogDates, EveryFractionComesBack) {
    for (unsigned fraction = 0; fraction < 65536; ++fraction) {
        const UTCDateTime date = {0, 77, static_cast<UInt16>(fraction)};
        const Moment moment = MomentOf(date);
        ASSERT_LT(moment.nanos, 1'000'000'000U);
        ASSERT_TRUE(IsSameDate(date, DateOf(moment))) << fraction;
    }
}

// A file system may keep any number of seconds.
TEST(CatalogDates, BeyondWhatADateCanTell) {
    const UTCDateTime last = {0xFFFF, 0xFFFFFFFF, 0xFFFF};
    for (const std::int64_t seconds :
         {INT64_MAX, INT64_MAX - 2'082'844'800, (std::int64_t{1} << 48) - 2'082'844'800})
        EXPECT_TRUE(IsSameDate(last, DateOf({seconds, 0}))) << seconds;
    EXPECT_TRUE(IsSameDate({0xFFFF, 0xFFFFFFFF, 0}, DateOf({(std::int64_t{1} << 48) - 2'082'844'801, 0})));
    EXPECT_TRUE(IsSameDate({}, DateOf({-2'082'844'801, 0})));
    EXPECT_TRUE(IsSameDate({}, DateOf({INT64_MIN, 0})));
}

TEST(CatalogDates, OfCompanions) {
    SInt32 seconds = 5;
    EXPECT_TRUE(IsSameDate({0, 3'029'529'600, 0}, DateOfCompanion(0)));
    EXPECT_TRUE(IsSameDate({}, DateOfCompanion(CompanionInfo::kNoDate)));
    EXPECT_TRUE(CompanionSecondsOf({}, seconds));
    EXPECT_EQ(CompanionInfo::kNoDate, seconds);
    for (const SInt32 each : {INT32_MIN + 1, -1, 0, 1, INT32_MAX}) {
        EXPECT_TRUE(CompanionSecondsOf(DateOfCompanion(each), seconds));
        EXPECT_EQ(each, seconds);
    }
    UTCDateTime date = DateOfCompanion(INT32_MIN + 1);
    date.lowSeconds -= 1;
    EXPECT_FALSE(CompanionSecondsOf(date, seconds));
    date = DateOfCompanion(INT32_MAX);
    date.fraction = 0xFFFF;
    EXPECT_TRUE(CompanionSecondsOf(date, seconds));
    date.lowSeconds += 1;
    EXPECT_FALSE(CompanionSecondsOf(date, seconds));
    EXPECT_FALSE(CompanionSecondsOf({0, 0, 1}, seconds)) << "a moment of 1904, not none";
}

TEST(CatalogDates, CreationIsTheBirthElseTheEarliest) {
    ItemStatus status;
    status.contentDate = {5, 3};
    status.attributeDate = {6, 0};
    status.accessDate = {5, 2};
    status.birthDate = {9, 9};
    EXPECT_EQ(5, CreationOf(status).seconds);
    EXPECT_EQ(2U, CreationOf(status).nanos);
    status.identity.birthNanos = 9'000'000'009;
    EXPECT_EQ(9, CreationOf(status).seconds);
}

}  // namespace
