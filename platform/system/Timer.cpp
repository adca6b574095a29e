#include <toolbox/Timer.h>

#include <time.h>

void Microseconds(UnsignedWide* outMicroseconds) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const auto count = static_cast<UInt64>(now.tv_sec) * 1000000 + static_cast<UInt64>(now.tv_nsec) / 1000;
    outMicroseconds->hi = static_cast<UInt32>(count >> 32);
    outMicroseconds->lo = static_cast<UInt32>(count);
}
