// The system's calls made to fail, one after the other.
#pragma once

#include "support/Countdown.h"

#include <corefoundation/CF_test_access.h>
#include <gtest/gtest.h>
#include <os/SystemCalls_test_access.h>

#include <cstdlib>

namespace faults {

inline support::Countdown sCountdown;
inline int sLiveBlocks = 0;

// While it lives, the n-th allocation or call of ICU fails.
class Scope {
  public:
    explicit Scope(int inFailingCall) {
        sCountdown = support::Countdown(inFailingCall);
        sLiveBlocks = 0;
        auto& calls = toolbox::os::CallsForTesting();
        calls.malloc = [](std::size_t inByteCount) -> void* {
            if (sCountdown.IsDue()) return nullptr;
            ++sLiveBlocks;
            return std::malloc(inByteCount);
        };
        calls.free = [](void* inBlock) {
            if (inBlock != nullptr) --sLiveBlocks;
            std::free(inBlock);
        };
        toolbox::corefoundation::ICUCallsForTesting().startStatus = [] { return sCountdown.IsDue() ? 7 : 0; };
    }
    ~Scope() {
        toolbox::os::CallsForTesting() = mSaved;
        toolbox::corefoundation::ICUCallsForTesting() = mSavedICU;
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

  private:
    toolbox::os::SystemCalls mSaved = toolbox::os::CallsForTesting();
    toolbox::corefoundation::ICUCalls mSavedICU = toolbox::corefoundation::ICUCallsForTesting();
};

// Runs inBody with its first call failing, then its second, and so on until none fails. It tells whether all
// went well, which must be so just when nothing failed, and gives back all that it made. Returns how many
// calls there were to fail.
template <typename Body>
int FailEachCall(Body inBody) {
    EXPECT_TRUE(inBody()) << "without a fault";
    for (int failing = 1;; ++failing) {
        const SInt64 objects = toolbox::corefoundation::LiveObjectsForTesting();
        const Scope scope(failing);
        const bool wentWell = inBody();
        EXPECT_EQ(!sCountdown.Delivered(), wentWell) << "call " << failing;
        EXPECT_EQ(0, sLiveBlocks) << "call " << failing;
        EXPECT_EQ(objects, toolbox::corefoundation::LiveObjectsForTesting()) << "call " << failing;
        if (!sCountdown.Delivered()) return failing - 1;
    }
}

}  // namespace faults
