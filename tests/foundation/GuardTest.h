// What the guards' tests share: a scenario that must leave nothing behind.
#pragma once

#include "fakes/Calls.h"
#include "fakes/Memory.h"

#include <foundation/LException.h>
#include <gtest/gtest.h>
#include <toolbox/MacMemory.h>

#include <string>
#include <vector>

class GuardTest : public ::testing::Test {
  protected:
    GuardTest() { fakes::StartScenario(); }
    ~GuardTest() override {
        EXPECT_EQ(mHandles, fakes::LiveHandles());
        EXPECT_EQ(mPtrs, fakes::LivePtrs());
        EXPECT_EQ(std::vector<std::string>(), fakes::Misuses());
    }

    static Handle HandleOf(const std::string& inText) {
        return fakes::MakeHandle({inText.begin(), inText.end()});
    }
    static std::string TextOf(Handle inHandle) {
        const std::vector<unsigned char> bytes = fakes::HandleBytes(inHandle);
        return {bytes.begin(), bytes.end()};
    }

    // The code that is thrown; 1 when nothing is.
    template <typename Function>
    static long CodeOf(Function inFunction) {
        try {
            inFunction();
        } catch (const LException& exception) {
            return exception.GetErrorCode();
        }
        return 1;
    }
    // How often a function was called.
    static std::size_t Count(const std::string& inName) { return fakes::CallsOf({inName}).size(); }

  private:
    int mHandles = fakes::LiveHandles();
    int mPtrs = fakes::LivePtrs();
};
