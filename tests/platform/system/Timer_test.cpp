#include "os/SystemCalls_test_access.h"

#include <gtest/gtest.h>
#include <toolbox/Timer.h>

#include <chrono>
#include <thread>

namespace {

UInt64 Now() {
    UnsignedWide now = {0xFFFFFFFF, 0xFFFFFFFF};
    Microseconds(&now);
    return UInt64{now.hi} << 32 | now.lo;
}

}  // namespace

TEST(Microseconds, NeverGoesBackwards) {
    UInt64 last = Now();
    for (int i = 0; i < 100'000; ++i) {
        const UInt64 now = Now();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(Microseconds, CountsMicroseconds) {
    // Bounded from both sides by another clock, however slow the machine is.
    using std::chrono::duration_cast;
    using std::chrono::microseconds;
    using std::chrono::steady_clock;
    const auto outerStart = steady_clock::now();
    const UInt64 start = Now();
    const auto innerStart = steady_clock::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const auto innerEnd = steady_clock::now();
    const UInt64 elapsed = Now() - start;
    const auto outerEnd = steady_clock::now();
    const auto inner = duration_cast<microseconds>(innerEnd - innerStart).count();
    const auto outer = duration_cast<microseconds>(outerEnd - outerStart).count();
    EXPECT_GE(inner, 20'000);
    EXPECT_GE(elapsed + 2, static_cast<UInt64>(inner));
    EXPECT_LE(elapsed, static_cast<UInt64>(outer) + 2);
}

namespace {

using toolbox::os::CallsForTesting;

timespec sNow;

class ClocksTest : public testing::Test {
  protected:
    ClocksTest() {
        CallsForTesting().clock_gettime = [](clockid_t inClock, timespec* outTime) {
            EXPECT_EQ(CLOCK_MONOTONIC, inClock);
            *outTime = sNow;
            return 0;
        };
    }
    ~ClocksTest() override { CallsForTesting() = mSaved; }

    toolbox::os::SystemCalls mSaved = CallsForTesting();
};

struct Moment {
    timespec time;
    UInt32 ticks;
    UInt64 micros;
    UInt64 nanos;
};
constexpr Moment kMoments[] = {
    {{0, 0}, 0, 0, 0},
    {{0, 999}, 0, 0, 999},
    {{0, 16'666'666}, 0, 16'666, 16'666'666},
    {{0, 16'666'667}, 1, 16'666, 16'666'667},
    {{0, 999'999'999}, 59, 999'999, 999'999'999},
    {{1, 0}, 60, 1'000'000, 1'000'000'000},
    {{3600, 500'000'000}, 216'030, 3'600'500'000, 3'600'500'000'000},
    {{71'582'788, 266'666'667}, 0, 71'582'788'266'666, 71'582'788'266'666'667},  // 2^32 ticks: they wrap
    {{10'000'000'000, 0}, 2'999'545'856, 10'000'000'000'000'000, 10'000'000'000'000'000'000U},
};

UInt64 NumberOf(const UnsignedWide& inNumber) {
    return UInt64{inNumber.hi} << 32 | inNumber.lo;
}

TEST_F(ClocksTest, Table) {
    for (const Moment& moment : kMoments) {
        sNow = moment.time;
        EXPECT_EQ(moment.ticks, TickCount()) << moment.time.tv_sec;
        EXPECT_EQ(moment.micros, Now()) << moment.time.tv_sec;
        EXPECT_EQ(moment.nanos, NumberOf(UpTime())) << moment.time.tv_sec;
    }
}

}  // namespace

// On the real clock the three agree, however slow the machine is.
TEST(Clocks, Agree) {
    for (int i = 0; i < 1000; ++i) {
        const UInt64 before = NumberOf(UpTime());
        const UInt64 micros = Now();
        const UInt32 ticks = TickCount();
        const UInt64 after = NumberOf(UpTime());
        ASSERT_LE(before / 1000, micros);
        ASSERT_LE(micros, after / 1000);
        ASSERT_LE(static_cast<UInt32>(before / 50'000'000 * 3), ticks);
        ASSERT_LE(ticks, static_cast<UInt32>((after / 50'000'000 + 1) * 3));
    }
}
