// A scenario with each of its steps failing in turn.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace support {

// Runs inBody with the first step of what it does under the fault failing, then with the second, and so on,
// and ends with the run in which none failed. Returns how many could. What cannot go on after a failed
// assertion ends, too.
//   Fault     of the kit: made with the number of the step and inArguments, it tells whether it was Delivered
//   inBody    void(const auto& inUnderFault)
//   inUnderFault(inSteps)   runs void inSteps() with the fault in place; answers whether it was delivered.
//   Once
//                           or more often in a run; what stands around it meets no fault.
template <typename Fault, typename Body, typename... Arguments>
int FailEach(Body inBody, Arguments... inArguments) {
    constexpr int kMaxSteps = 10'000;
    for (int failing = 1; failing <= kMaxSteps; ++failing) {
        const testing::ScopedTrace trace(__FILE__, __LINE__, "failing step: " + std::to_string(failing));
        bool wasDelivered = false;
        inBody([&](auto&& inSteps) {
            const Fault fault(failing, inArguments...);
            inSteps();
            const bool isDelivered = fault.Delivered();
            wasDelivered = wasDelivered || isDelivered;
            return isDelivered;
        });
        if (!wasDelivered || testing::Test::HasFatalFailure()) return failing - 1;
    }
    ADD_FAILURE() << "there is no end of steps that fail";
    return kMaxSteps;
}

}  // namespace support
