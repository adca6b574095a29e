// TCFString as the name of a file: its suffix, and names that a catalogue takes.
#include <strings/TCFString.h>

namespace {

constexpr long kMaxSuffixLength = 12;  // the dot included

// A constant of the program's image, which takes no memory.
const TCFString& Period() {
    static const TCFString sPeriod(CFSTR("."));
    return sPeriod;
}

bool IsSuffixLength(long inLength) {
    return inLength >= 1 && inLength <= kMaxSuffixLength;
}

}  // namespace

TCFString TCFString::Suffix() const {
    const long dot = Find(Period(), kCFCompareBackwards).location;
    if (dot == kCFNotFound || !IsSuffixLength(Length() - dot)) return Empty;
    return Substring(dot, Length() - dot);
}

TCFString TCFString::RemoveSuffix() const {
    static const TCFString sSpace(CFSTR(" "));
    const long dot = Find(Period(), kCFCompareBackwards).location;
    if (dot == kCFNotFound || !IsSuffixLength(Length() - dot)) return *this;
    if (Find(sSpace, kCFCompareBackwards).location > dot) return *this;
    return Substring(0, dot);
}

TCFString TCFString::HFSName(long inMaxLength) const {
    static const TCFString sColon(CFSTR(":"));
    static const TCFString sUnderscore(CFSTR("_"));
    TCFString name(*this);
    if (inMaxLength > 0 && Length() > inMaxLength) {
        const TCFString suffix = Suffix();
        const bool keepsSuffix = !suffix.IsEmpty() && suffix.Length() < inMaxLength;
        name = keepsSuffix ? Substring(0, inMaxLength - suffix.Length()) + suffix : Substring(0, inMaxLength);
    }
    return name.FindAndReplace(sColon, sUnderscore, CFRangeMake(0, name.Length()), 0);
}
