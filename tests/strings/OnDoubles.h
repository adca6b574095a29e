// A scenario over the toolbox doubles, after which nothing is left alive and nothing was misused.
#pragma once

#include "StringTest.h"
#include "fakes/Calls.h"
#include "fakes/Memory.h"
#include "fakes/Text.h"

class OnDoubles : public ::testing::Test {
  protected:
    OnDoubles() { fakes::StartScenario(); }
    ~OnDoubles() override {
        EXPECT_EQ(mLiveStrings, fakes::LiveStrings());
        EXPECT_EQ(mLivePtrs, fakes::LivePtrs());
        EXPECT_TRUE(fakes::Misuses().empty());
    }

    // Whether the log has this call.
    static bool WasCalled(const std::string& inCall) {
        for (const std::string& call : fakes::CallLog())
            if (call == inCall) return true;
        return false;
    }

  private:
    int mLiveStrings = fakes::LiveStrings();
    int mLivePtrs = fakes::LivePtrs();
};
