// Lets a test stand in for the system. Replace calls only while no other thread makes any.
#pragma once

#include "os/SystemCalls.h"

namespace toolbox::os {

// The table that Calls() answers.
inline SystemCalls& CallsForTesting() {
    return sSystemCalls;
}

// inVisit.operator()<pointer to the member>(its name, its Failure), for every call there is.
template <typename Visit>
void ForEachCall(Visit&& inVisit) {
#define TOOLBOX_VISIT(NAME, TYPE, FAILURE, FUNCTION) \
    inVisit.template operator()<&SystemCalls::NAME>(#NAME, Failure::FAILURE);
    TOOLBOX_SYSTEM_CALLS(TOOLBOX_VISIT)
#undef TOOLBOX_VISIT
}

}  // namespace toolbox::os
