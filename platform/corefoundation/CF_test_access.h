// For tests only: Core Foundation's calls of the system, and how many objects are alive.
#pragma once

#include "corefoundation/Object.h"

namespace toolbox::corefoundation {

// The calls in use. Replace entries only while no other thread uses Core Foundation.
inline SystemCalls& SystemCallsForTesting() {
    return sSystemCalls;
}

// Objects made and not yet destroyed; constant strings are none.
inline SInt64 LiveObjectsForTesting() {
    return CountLiveObjects();
}

}  // namespace toolbox::corefoundation
