// For tests only: the text manager's calls of the system, and the application that it looks at.
#pragma once

#include "ApplicationEncoding.h"
#include "TextCalls.h"

namespace toolbox::text {

// The calls in use. Replace entries only while no other thread uses the manager.
inline TextCalls& TextCallsForTesting() {
    return sTextCalls;
}

// As after the start of the process.
inline void ForgetApplicationEncodingForTesting() {
    ForgetApplicationEncoding();
}

}  // namespace toolbox::text
