#include <toolbox/Timer.h>

#include <gtest/gtest.h>

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
