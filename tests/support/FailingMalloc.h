// Memory that rooms of the platform ask the C library for by the table of calls, as the Memory Manager and
// Core Foundation do, failing at an allocation of the test's choice.
#pragma once

#include "os/SystemCalls_test_access.h"
#include "support/Countdown.h"

#include <atomic>
#include <cstddef>

namespace support {

// While it lives, the n-th allocation of that kind fails, from 1: once, or it and all after it. One at a
// time; only one thread allocates. What it tells is of the last one, also when that is gone.
class FailingMalloc {
  public:
    explicit FailingMalloc(int inFailingAllocation, Countdown::Extent inExtent = Countdown::kOnce) {
        sCountdown = Countdown(inFailingAllocation, inExtent);
        sLiveBlockCount = 0;
        sReal = mReal;
        auto& calls = toolbox::os::CallsForTesting();
        calls.malloc = [](std::size_t inByteCount) -> void* {
            return IsDue() ? nullptr : Counted(sReal.malloc(inByteCount));
        };
        calls.calloc = [](std::size_t inCount, std::size_t inByteCount) -> void* {
            return IsDue() ? nullptr : Counted(sReal.calloc(inCount, inByteCount));
        };
        calls.realloc = [](void* ioBlock, std::size_t inByteCount) -> void* {
            if (IsDue()) return nullptr;
            void* const block = sReal.realloc(ioBlock, inByteCount);
            return ioBlock == nullptr ? Counted(block) : block;
        };
        calls.free = [](void* inBlock) {
            if (inBlock != nullptr) --sLiveBlockCount;
            sReal.free(inBlock);
        };
    }
    ~FailingMalloc() {
        auto& calls = toolbox::os::CallsForTesting();
        calls.malloc = mReal.malloc;
        calls.calloc = mReal.calloc;
        calls.realloc = mReal.realloc;
        calls.free = mReal.free;
    }
    FailingMalloc(const FailingMalloc&) = delete;
    FailingMalloc& operator=(const FailingMalloc&) = delete;

    // Counts a step of another kind that is to fail in its turn; true when it is to.
    static bool IsDue() { return sCountdown.IsDue(); }
    static bool Delivered() { return sCountdown.Delivered(); }
    static int DeliveredCount() { return sCountdown.DeliveredCount(); }
    // Blocks that were had while it lived, less those that were given back.
    static int LiveBlockCount() { return sLiveBlockCount; }

  private:
    static void* Counted(void* inBlock) {
        if (inBlock != nullptr) ++sLiveBlockCount;
        return inBlock;
    }

    static inline Countdown sCountdown;
    static inline std::atomic<int> sLiveBlockCount;
    static inline toolbox::os::SystemCalls sReal;
    const toolbox::os::SystemCalls mReal = toolbox::os::CallsForTesting();
};

}  // namespace support
