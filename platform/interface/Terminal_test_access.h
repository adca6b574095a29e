// For tests only: a terminal of the test's making. Replace calls only while no alert is shown.
#pragma once

#include "Terminal.h"

namespace toolbox::interface {

inline TerminalCalls& TerminalCallsForTesting() {
    return sTerminalCalls;
}

}  // namespace toolbox::interface
