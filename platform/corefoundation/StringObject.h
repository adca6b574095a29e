// How a string lies in memory: the image that CFSTR lays out, with the characters right behind it when it was
// made at run time.
#pragma once

#include "corefoundation/Object.h"

#include <toolbox/CFString.h>

#include <cstddef>
#include <limits>

namespace toolbox::corefoundation {

struct StringObject {
    Object base;
    CFIndex length;  // UTF-16 units
    const UniChar* characters;
};
static_assert(sizeof(StringObject) == sizeof(CFConstantString) &&
              offsetof(StringObject, length) == offsetof(CFConstantString, length) &&
              offsetof(StringObject, characters) == offsetof(CFConstantString, characters));

// UTF-16 units, as many as memory could ever hold.
constexpr CFIndex kMaxStringLength =
    (std::numeric_limits<CFIndex>::max() - CFIndex{sizeof(StringObject)}) / CFIndex{sizeof(UniChar)};

// Of strings made at run time that do not change, and of those that do.
extern const TypeInfo kStringType;
extern const TypeInfo kMutableStringType;

inline const StringObject& ObjectOf(CFStringRef inString) {
    return *reinterpret_cast<const StringObject*>(inString);
}

inline CFStringRef RefOf(const StringObject* inString) {
    return reinterpret_cast<CFStringRef>(inString);
}

inline bool IsMutable(CFStringRef inString) {
    return ObjectOf(inString).base.type == &kMutableStringType;
}

inline bool IsInside(const StringObject& inString, CFRange inRange) {
    return inRange.location >= 0 && inRange.length >= 0 && inRange.location <= inString.length &&
           inRange.length <= inString.length - inRange.location;
}

// A string of inLength units (>= 0), to be filled in through outCharacters before anyone sees it. Null when
// memory is short.
[[nodiscard]] StringObject* NewString(CFIndex inLength, UniChar** outCharacters);
// A string of these units; null when memory is short.
[[nodiscard]] CFStringRef NewStringOf(const UniChar* inCharacters, CFIndex inLength);

}  // namespace toolbox::corefoundation
