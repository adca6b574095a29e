// References to strings just made, on their way into a TCFString.
#pragma once

#include <strings/TCFString.h>

// Takes inCreated over. A string without units is given up for null, in whose place TCFString puts the one
// empty string.
inline CFStringRef NullIfEmpty(CFStringRef inCreated) {
    if (inCreated == nullptr || CFStringGetLength(inCreated) > 0) return inCreated;
    CFRelease(inCreated);
    return nullptr;
}

// Takes inCreated over; null, of what could not be made, gives the empty string.
[[nodiscard]] inline TCFString MakeString(CFStringRef inCreated) {
    TCFString result;
    result.Adopt(NullIfEmpty(inCreated));
    return result;
}
