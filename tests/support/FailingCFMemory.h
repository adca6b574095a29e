// Core Foundation's memory, failing at an allocation of the test's choice.
#pragma once

#include "corefoundation/CF_test_access.h"
#include "support/Countdown.h"

#include <cstddef>

namespace support {

// While it lives, the n-th allocation of Core Foundation fails, from 1: once, or it and all after it. One at a
// time, on one thread.
class FailingCFMemory {
  public:
    explicit FailingCFMemory(int inFailingAllocation, Countdown::Extent inExtent = Countdown::kOnce)
        : mReal(toolbox::corefoundation::SystemCallsForTesting().allocate) {
        sCountdown = Countdown(inFailingAllocation, inExtent);
        sReal = mReal;
        toolbox::corefoundation::SystemCallsForTesting().allocate = [](std::size_t inByteCount) -> void* {
            return sCountdown.IsDue() ? nullptr : sReal(inByteCount);
        };
    }
    ~FailingCFMemory() { toolbox::corefoundation::SystemCallsForTesting().allocate = mReal; }
    FailingCFMemory(const FailingCFMemory&) = delete;
    FailingCFMemory& operator=(const FailingCFMemory&) = delete;

    bool Delivered() const { return sCountdown.Delivered(); }

  private:
    using Allocate = decltype(toolbox::corefoundation::SystemCalls::allocate);

    static inline Countdown sCountdown;
    static inline Allocate sReal;
    Allocate mReal;
};

}  // namespace support
