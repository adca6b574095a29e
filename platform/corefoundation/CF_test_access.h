// For tests only: how Core Foundation's calls of ICU begin, and how many objects are alive.
#pragma once

#include "ICUCalls.h"
#include "corefoundation/Object.h"

namespace toolbox::corefoundation {

// In use. Replace it only while no other thread uses Core Foundation.
inline ICUCalls& ICUCallsForTesting() {
    return sICUCalls;
}

// Objects made and not yet destroyed; constant strings are none.
inline SInt64 LiveObjectsForTesting() {
    return CountLiveObjects();
}

}  // namespace toolbox::corefoundation
