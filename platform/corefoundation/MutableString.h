// How a mutable string lies in memory, and the one way in which it changes.
#pragma once

#include "StringObject.h"

namespace toolbox::corefoundation {

struct MutableStringObject {
    StringObject string;  // its characters are a block of the system's memory, while there is capacity
    CFIndex capacity;     // units that the block has room for; 0 when there is none
    CFIndex maxLength;    // units that the string may come to have
};

// Null when the string is not a mutable one.
inline MutableStringObject* MutableOf(CFMutableStringRef inString) {
    return inString != nullptr && IsMutable(inString) ? reinterpret_cast<MutableStringObject*>(inString)
                                                      : nullptr;
}

// Of the type of mutable strings.
void ReleaseUnitsOfMutable(Object* inString);

// Puts inCount units, which may be the string's own, in place of a range. False, and no change, when the
// range is not inside the string, the limit would be passed or memory is short.
bool ReplaceUnits(MutableStringObject& ioString, CFRange inRange, const UniChar* inUnits, CFIndex inCount);

}  // namespace toolbox::corefoundation
