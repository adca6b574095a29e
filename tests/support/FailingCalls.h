// The system, failing at a call of the test's choice.
#pragma once

#include "os/SystemCalls_test_access.h"
#include "support/Countdown.h"

#include <cerrno>
#include <type_traits>

namespace test_files {

// While it lives, the n-th call of those that can fail does so, with an errno if it tells one: once, or it
// and all after it. A call that closes does close before it fails, as the system's own does. Calls that give
// memory do not fail, nor do those that have no way to tell. One at a time, on one thread.
//
// A variable of the environment that is asked for then is not there, and what it would have named is looked
// for in the next place. A test that lets folders of the user be looked for has HOME and the user database
// tell of its own folder (Variables.h, UserDatabase.h), so that the user's are left alone.
class FailingCalls {
  public:
    using Extent = support::Countdown::Extent;
    static constexpr Extent kOnce = Extent::kOnce;
    static constexpr Extent kForever = Extent::kForever;

    FailingCalls(int inFailingCall, int inErrno, Extent inExtent = kOnce)
        : mReal(toolbox::os::CallsForTesting()) {
        sCountdown = support::Countdown(inFailingCall, inExtent);
        sErrno = inErrno;
        sReal = mReal;
        toolbox::os::ForEachCall([]<auto kCall>(const char*, toolbox::os::Failure inFailure) {
            if (inFailure == toolbox::os::Failure::kNone || inFailure == toolbox::os::Failure::kNoMemory)
                return;
            StandIn<kCall>::sFailure = inFailure;
            toolbox::os::CallsForTesting().*kCall = StandIn<kCall>::Call;
        });
    }
    ~FailingCalls() { toolbox::os::CallsForTesting() = mReal; }
    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;

    bool Delivered() const { return sCountdown.Delivered(); }

  private:
    static inline support::Countdown sCountdown;
    static inline int sErrno;
    static inline toolbox::os::SystemCalls sReal;

    template <auto kCall, typename Function = std::remove_reference_t<decltype(sReal.*kCall)>>
    struct StandIn;
    template <auto kCall, typename Result, typename... Arguments>
    struct StandIn<kCall, Result (*)(Arguments...)> {
        static inline toolbox::os::Failure sFailure;

        static Result Call(Arguments... inArguments) {
            if (!sCountdown.IsDue()) return (sReal.*kCall)(inArguments...);
            if (sFailure == toolbox::os::Failure::kClosed) (void)(sReal.*kCall)(inArguments...);
            // What answers an errno, or only zero, leaves the thread's own alone.
            if (sFailure != toolbox::os::Failure::kErrno && sFailure != toolbox::os::Failure::kOnlyZero)
                errno = sErrno;
            return FailedResult();
        }
        static Result FailedResult() {
            if constexpr (std::is_integral_v<Result>) {
                if (sFailure == toolbox::os::Failure::kErrno) return sErrno;
                if (!IsToldByZero()) return static_cast<Result>(-1);
            }
            return Result();
        }
        static bool IsToldByZero() {
            return sFailure == toolbox::os::Failure::kZero || sFailure == toolbox::os::Failure::kOnlyZero;
        }
    };

    toolbox::os::SystemCalls mReal;
};

}  // namespace test_files
