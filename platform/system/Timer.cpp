#include "Clocks.h"
#include "os/SystemCalls.h"

#include <toolbox/Timer.h>

namespace toolbox::system {

namespace {

constexpr UInt64 kNanosPerSecond = 1'000'000'000;
constexpr UInt64 kNanosPerMicrosecond = 1'000;

UInt64 NanosUp() {
    return NanosOnClock(CLOCK_MONOTONIC);
}

UnsignedWide WideOf(UInt64 inNumber) {
    return {static_cast<UInt32>(inNumber >> 32), static_cast<UInt32>(inNumber)};
}

}  // namespace

UInt64 NanosOnClock(clockid_t inClock) {
    timespec now = {};
    if (os::Calls().clock_gettime(inClock, &now) != 0) return 0;
    return static_cast<UInt64>(now.tv_sec) * kNanosPerSecond + static_cast<UInt64>(now.tv_nsec);
}

// Seconds and their parts by themselves, so that no product overflows.
UInt64 TicksOfNanos(UInt64 inNanos) {
    return inNanos / kNanosPerSecond * kTicksPerSecond +
           inNanos % kNanosPerSecond * kTicksPerSecond / kNanosPerSecond;
}

}  // namespace toolbox::system

using namespace toolbox::system;

AbsoluteTime UpTime() {
    return WideOf(NanosUp());
}

void Microseconds(UnsignedWide* outMicroseconds) {
    *outMicroseconds = WideOf(NanosUp() / kNanosPerMicrosecond);
}

UInt32 TickCount() {
    return static_cast<UInt32>(TicksOfNanos(NanosUp()));
}
