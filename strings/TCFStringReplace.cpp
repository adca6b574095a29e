// Finding and replacing in TCFString.
#include "NewString.h"

#include <strings/TCFString.h>

#include <cstddef>

namespace {

bool IsNegative(const CFRange& inRange) {
    return inRange.location < 0 || inRange.length < 0;
}

}  // namespace

bool TCFString::HasPrefix(const TCFString& inPrefix, bool inIgnoreCase) const {
    if (Length() < inPrefix.Length()) return false;
    const CFStringCompareFlags flags = inIgnoreCase ? kCFCompareCaseInsensitive : 0;
    const CFRange front = CFRangeMake(0, inPrefix.Length());
    return CFStringCompareWithOptions(mString, inPrefix.mString, front, flags) == kCFCompareEqualTo;
}

bool TCFString::HasSuffix(const TCFString& inSuffix) const {
    constexpr CFStringCompareFlags kAtEnd =
        kCFCompareCaseInsensitive | kCFCompareBackwards | kCFCompareAnchored;
    return CFStringFindWithOptions(mString, inSuffix.mString, CFRangeMake(0, Length()), kAtEnd, nullptr);
}

CFRange TCFString::Find(const TCFString& inString, CFStringCompareFlags inFlags) const {
    return CFStringFind(mString, inString.mString, inFlags);
}

CFRange TCFString::FindInRange(CFRange inRange, const TCFString& inString,
                               CFStringCompareFlags inFlags) const {
    CFRange found = CFRangeMake(kCFNotFound, kCFNotFound);
    if (!CFStringFindWithOptions(mString, inString.mString, CheckRange(inRange), inFlags, &found))
        return CFRangeMake(kCFNotFound, kCFNotFound);
    return found;
}

TCFString TCFString::Replace(const CFRange& inRange, const TCFString& inWith) const {
    if (IsNegative(inRange)) return *this;
    const CFMutableStringRef copy = CFStringCreateMutableCopy(kCFAllocatorDefault, 0, mString);
    if (copy == nullptr) return *this;
    CFStringReplace(copy, CheckRange(inRange), inWith.mString);
    return MakeString(copy);
}

TCFString TCFString::ReplaceSubstring(const TCFString& inFind, const TCFString& inWith,
                                      CFStringCompareFlags inFlags) const {
    const CFRange found = Find(inFind, inFlags);
    return found.location == kCFNotFound ? *this : Replace(found, inWith);
}

TCFString TCFString::FindAndReplace(const TCFString& inFind, const TCFString& inWith, CFRange inRange,
                                    CFStringCompareFlags inFlags) const {
    if (IsNegative(inRange)) return *this;
    const CFMutableStringRef copy = CFStringCreateMutableCopy(kCFAllocatorDefault, 0, mString);
    if (copy == nullptr) return *this;
    const CFIndex count =
        CFStringFindAndReplace(copy, inFind.mString, inWith.mString, CheckRange(inRange), inFlags);
    if (count > 0) return MakeString(copy);
    CFRelease(copy);
    return *this;
}

TCFString TCFString::PlugParams(const TCFString& inParam0, const TCFString& inParam1,
                                const TCFString& inParam2, const TCFString& inParam3) const {
    const TCFString* const params[] = {&inParam0, &inParam1, &inParam2, &inParam3};
    static const CFStringRef kCaret[] = {CFSTR("^0"), CFSTR("^1"), CFSTR("^2"), CFSTR("^3")};
    TCFString result(*this);
    for (std::size_t i = 0; i < 4; ++i)
        if (*params[i] != Empty) result = result.Replace(result.Find(kCaret[i], 0), *params[i]);
    return result;
}
