#include <toolbox/Timer.h>

#include "SystemCalls.h"

namespace toolbox::system {

namespace {

constexpr UInt64 kNanosPerSecond = 1'000'000'000;
constexpr UInt64 kNanosPerMicrosecond = 1'000;
constexpr UInt64 kTicksPerSecond = 60;

timespec Now() {
    timespec now = {};
    sSystemCalls.readClock(CLOCK_MONOTONIC, &now);  // cannot fail: the clock is always there
    return now;
}

UnsignedWide WideOf(UInt64 inNumber) {
    return {static_cast<UInt32>(inNumber >> 32), static_cast<UInt32>(inNumber)};
}

UInt64 NanosOf(const timespec& inTime) {
    return static_cast<UInt64>(inTime.tv_sec) * kNanosPerSecond + static_cast<UInt64>(inTime.tv_nsec);
}

}  // namespace

}  // namespace toolbox::system

using namespace toolbox::system;

AbsoluteTime UpTime() {
    return WideOf(NanosOf(Now()));
}

void Microseconds(UnsignedWide* outMicroseconds) {
    *outMicroseconds = WideOf(NanosOf(Now()) / kNanosPerMicrosecond);
}

UInt32 TickCount() {
    // Seconds and their parts by themselves, so that no product overflows.
    const timespec now = Now();
    const UInt64 ticksOfSecond = static_cast<UInt64>(now.tv_nsec) * kTicksPerSecond / kNanosPerSecond;
    return static_cast<UInt32>(static_cast<UInt64>(now.tv_sec) * kTicksPerSecond + ticksOfSecond);
}
