#include "os/SystemCalls_test_access.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>
#include <toolbox/DateTimeUtils.h>

#include <cerrno>
#include <string>

namespace {

using toolbox::os::CallsForTesting;

timespec sNow;
bool sFails;

class DateTimeTest : public testing::Test {
  protected:
    DateTimeTest() {
        sFails = false;
        CallsForTesting().clock_gettime = [](clockid_t inClock, timespec* outTime) {
            EXPECT_EQ(CLOCK_REALTIME, inClock);
            if (sFails) {
                errno = EINVAL;
                return -1;
            }
            *outTime = sNow;
            return 0;
        };
    }
    ~DateTimeTest() override {
        CallsForTesting() = mSaved;
        if (mHadZone)
            SetZone(mZone.c_str());
        else
            unsetenv("TZ");
        tzset();
    }
    static void SetZone(const char* inZone) {
        setenv("TZ", inZone, 1);
        tzset();
    }
    static UInt32 Seconds() {
        UInt32 seconds = 77;
        GetDateTime(&seconds);
        return seconds;
    }

    toolbox::os::SystemCalls mSaved = CallsForTesting();
    bool mHadZone = getenv("TZ") != nullptr;
    std::string mZone = mHadZone ? getenv("TZ") : "";
};

TEST_F(DateTimeTest, LocalSeconds) {
    SetZone("UTC0");
    sNow = {0, 0};
    EXPECT_EQ(2'082'844'800U, Seconds()) << "1970 is 66 years and 17 days after 1904";
    sNow = {1'000'000'000, 999'999'999};
    EXPECT_EQ(3'082'844'800U, Seconds());
    SetZone("EAST-5:30");
    EXPECT_EQ(3'082'844'800U + 19'800, Seconds());
    SetZone("WEST8");
    EXPECT_EQ(3'082'844'800U - 28'800, Seconds());
}

TEST_F(DateTimeTest, LocalSecondsInSummer) {
    SetZone("CET-1CEST,M3.5.0,M10.5.0/3");
    sNow = {1'767'225'600, 0};  // 1 January 2026
    EXPECT_EQ(3'850'070'400U + 3'600, Seconds());
    sNow = {1'782'864'000, 0};  // 1 July 2026
    EXPECT_EQ(3'865'708'800U + 7'200, Seconds());
}

TEST_F(DateTimeTest, LocalSecondsWrap) {
    SetZone("UTC0");
    sNow = {2'212'122'495, 0};
    EXPECT_EQ(0xFFFFFFFFU, Seconds());
    sNow = {2'212'122'496, 0};
    EXPECT_EQ(0U, Seconds());
}

TEST_F(DateTimeTest, Moment) {
    const struct {
        timespec now;
        UInt16 high;
        UInt32 low;
        UInt16 fraction;
    } rows[] = {
        {{0, 0}, 0, 2'082'844'800, 0},
        {{1, 500'000'000}, 0, 2'082'844'801, 0x8000},
        {{1, 15'258}, 0, 2'082'844'801, 0},
        {{1, 15'259}, 0, 2'082'844'801, 1},
        {{1, 999'999'999}, 0, 2'082'844'801, 0xFFFF},
        {{2'212'122'496, 0}, 1, 0, 0},
    };
    SetZone("EAST-5:30");
    for (const auto& row : rows) {
        sNow = row.now;
        UTCDateTime moment = {7, 7, 7};
        EXPECT_EQ(noErr, GetUTCDateTime(&moment, kUTCDefaultOptions));
        EXPECT_EQ(row.high, moment.highSeconds) << row.now.tv_sec;
        EXPECT_EQ(row.low, +moment.lowSeconds) << row.now.tv_sec;
        EXPECT_EQ(row.fraction, moment.fraction) << row.now.tv_nsec;
    }
}

TEST_F(DateTimeTest, ClockFails) {
    sFails = true;
    EXPECT_EQ(0U, Seconds());
    UTCDateTime moment = {7, 7, 7};
    EXPECT_EQ(ioErr, GetUTCDateTime(&moment, kUTCDefaultOptions));
    EXPECT_EQ(7U, +moment.lowSeconds);
}

TEST_F(DateTimeTest, BadArguments) {
    UTCDateTime moment = {7, 7, 7};
    EXPECT_EQ(paramErr, GetUTCDateTime(nullptr, kUTCDefaultOptions));
    EXPECT_EQ(paramErr, GetUTCDateTime(&moment, 1));
    EXPECT_EQ(7U, +moment.lowSeconds);
}

}  // namespace
