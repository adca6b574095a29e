// The system's clocks, and the unit of ours.
#pragma once

#include <time.h>
#include <toolbox/MacTypes.h>

namespace toolbox::system {

// Nanoseconds on one of the system's clocks; 0 when it cannot be read.
UInt64 NanosOnClock(clockid_t inClock);

// Whole ticks, 60 in a second, of a time.
constexpr UInt64 kTicksPerSecond = 60;
UInt64 TicksOfNanos(UInt64 inNanos);

}  // namespace toolbox::system
