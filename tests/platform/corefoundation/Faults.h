// The system's calls made to fail, one after the other.
#pragma once

#include "support/FailEach.h"
#include "support/FailingMalloc.h"

#include <corefoundation/CF_test_access.h>
#include <gtest/gtest.h>

namespace faults {

// While it lives, the n-th allocation or call of ICU fails.
class Scope {
  public:
    explicit Scope(int inFailingCall) : mMemory(inFailingCall) {
        toolbox::corefoundation::ICUCallsForTesting().startStatus = [] {
            return support::FailingMalloc::IsDue() ? 7 : 0;
        };
    }
    ~Scope() { toolbox::corefoundation::ICUCallsForTesting() = mSavedICU; }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

    bool Delivered() const { return mMemory.Delivered(); }

  private:
    const support::FailingMalloc mMemory;
    const toolbox::corefoundation::ICUCalls mSavedICU = toolbox::corefoundation::ICUCallsForTesting();
};

// Runs inBody with its first call failing, then its second, and so on until none fails. It tells whether all
// went well, which must be so just when nothing failed, and gives back all that it made. Returns how many
// calls there were to fail.
template <typename Body>
int FailEachCall(Body inBody) {
    EXPECT_TRUE(inBody()) << "without a fault";
    return support::FailEach<Scope>([&](const auto& inUnderFault) {
        const SInt64 objects = toolbox::corefoundation::LiveObjectsForTesting();
        bool wentWell = false;
        const bool failed = inUnderFault([&] { wentWell = inBody(); });
        EXPECT_EQ(!failed, wentWell);
        EXPECT_EQ(0, support::FailingMalloc::LiveBlockCount());
        EXPECT_EQ(objects, toolbox::corefoundation::LiveObjectsForTesting());
    });
}

}  // namespace faults
