// For tests only: a system of the test's making. Replace calls only while no other thread uses them.
#pragma once

#include "SystemCalls.h"

namespace toolbox::system {

inline SystemCalls& SystemCallsForTesting() {
    return sSystemCalls;
}

}  // namespace toolbox::system
