// For tests only: a debugger of the test's making.
#pragma once

#include "DebuggerCalls.h"

namespace toolbox::system {

inline DebuggerCalls& DebuggerCallsForTesting() {
    return sDebuggerCalls;
}

}  // namespace toolbox::system
