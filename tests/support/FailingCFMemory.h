// Memory that rooms of the platform ask the C library for, as Core Foundation does, failing at an allocation
// of the test's choice.
#pragma once

#include "os/SystemCalls_test_access.h"
#include "support/Countdown.h"

#include <cstddef>

namespace support {

// While it lives, the n-th allocation of that kind fails, from 1: once, or it and all after it. One at a
// time, on one thread.
class FailingCFMemory {
  public:
    explicit FailingCFMemory(int inFailingAllocation, Countdown::Extent inExtent = Countdown::kOnce)
        : mReal(toolbox::os::CallsForTesting().malloc) {
        sCountdown = Countdown(inFailingAllocation, inExtent);
        sReal = mReal;
        toolbox::os::CallsForTesting().malloc = [](std::size_t inByteCount) -> void* {
            return sCountdown.IsDue() ? nullptr : sReal(inByteCount);
        };
    }
    ~FailingCFMemory() { toolbox::os::CallsForTesting().malloc = mReal; }
    FailingCFMemory(const FailingCFMemory&) = delete;
    FailingCFMemory& operator=(const FailingCFMemory&) = delete;

    bool Delivered() const { return sCountdown.Delivered(); }

  private:
    using Allocate = decltype(toolbox::os::SystemCalls::malloc);

    static inline Countdown sCountdown;
    static inline Allocate sReal;
    Allocate mReal;
};

}  // namespace support
