// The system, with its calls counted.
#pragma once

#include "os/SystemCalls_test_access.h"

#include <sstream>
#include <string>
#include <type_traits>

namespace test_files {

// While it lives, every call of the table is made, and counted if it gives no memory and can tell an errno:
// getenv, dlopen and getuid, say, are not. One at a time, on one thread.
class CountedCalls {
  public:
    CountedCalls() : mBefore(toolbox::os::CallsForTesting()) {
        sReal = mBefore;
        toolbox::os::ForEachCall([]<auto kCall>(const char*, toolbox::os::Failure inFailure) {
            StandIn<kCall>::sCount = 0;
            if (IsCounted(inFailure)) toolbox::os::CallsForTesting().*kCall = StandIn<kCall>::Call;
        });
    }
    ~CountedCalls() { toolbox::os::CallsForTesting() = mBefore; }
    CountedCalls(const CountedCalls&) = delete;
    CountedCalls& operator=(const CountedCalls&) = delete;

    // Those that were made, in the table's order: "openat 1, close 1, statx 2"; "none".
    std::string Made() const {
        std::ostringstream text;
        toolbox::os::ForEachCall([&text]<auto kCall>(const char* inName, toolbox::os::Failure) {
            if (StandIn<kCall>::sCount == 0) return;
            text << (text.tellp() == 0 ? "" : ", ") << inName << ' ' << StandIn<kCall>::sCount;
        });
        return text.tellp() == 0 ? "none" : text.str();
    }

  private:
    static inline toolbox::os::SystemCalls sReal;

    static bool IsCounted(toolbox::os::Failure inFailure) {
        return inFailure != toolbox::os::Failure::kNone && inFailure != toolbox::os::Failure::kOnlyZero &&
               inFailure != toolbox::os::Failure::kNoMemory;
    }

    template <auto kCall, typename Function = std::remove_reference_t<decltype(sReal.*kCall)>>
    struct StandIn;
    template <auto kCall, typename Result, typename... Arguments>
    struct StandIn<kCall, Result (*)(Arguments...)> {
        static inline int sCount;
        static Result Call(Arguments... inArguments) {
            ++sCount;
            return (sReal.*kCall)(inArguments...);
        }
    };

    toolbox::os::SystemCalls mBefore;
};

}  // namespace test_files
