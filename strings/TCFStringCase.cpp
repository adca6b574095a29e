// TCFString in another case or normal form, and the order of names.
#include "NewString.h"

#include <foundation/TextUtilities.h>
#include <strings/TCFString.h>

#include <algorithm>

namespace {

// A copy of inString that inChange(mutable copy) has changed; empty when it cannot be made.
template <typename Change>
TCFString Changed(const TCFString& inString, Change inChange) {
    const CFMutableStringRef copy = CFStringCreateMutableCopy(kCFAllocatorDefault, 0, inString.StringRef());
    if (copy != nullptr) inChange(copy);
    return MakeString(copy);
}

}  // namespace

TCFString TCFString::Capitalize() const {
    return Changed(*this, [](CFMutableStringRef ioString) { CFStringCapitalize(ioString, nullptr); });
}

TCFString TCFString::Uppercase() const {
    return Changed(*this, [](CFMutableStringRef ioString) { CFStringUppercase(ioString, nullptr); });
}

TCFString TCFString::Lowercase() const {
    return Changed(*this, [](CFMutableStringRef ioString) { CFStringLowercase(ioString, nullptr); });
}

TCFString TCFString::Normalize(CFStringNormalizationForm inForm) const {
    return Changed(*this, [inForm](CFMutableStringRef ioString) { CFStringNormalize(ioString, inForm); });
}

SInt32 TCFString::FinderCompareTo(const TCFString& inOther, unsigned char inStrict) const {
    HFSUniStr255 left, right;
    HFSUniStr(left);
    inOther.HFSUniStr(right);
    const long order = FinderCompare(left.length, left.unicode, right.length, right.unicode, false, true);
    if (!inStrict && (order == 1 || order == -1)) return 0;
    return static_cast<SInt32>(std::clamp(order, -1L, 1L));
}
