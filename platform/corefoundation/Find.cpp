#include "Finder.h"
#include "MutableString.h"
#include "SystemArray.h"

#include <toolbox/CFMutableString.h>
#include <toolbox/CFStringFind.h>

#include <algorithm>

namespace toolbox::corefoundation {

namespace {

using Ranges = SystemArray<CFRange, 32>;

// All occurrences, in the order of the text.
bool FindAll(CFStringRef inString, CFStringRef inFind, CFRange inRange, CFStringCompareFlags inFlags,
             Ranges& outRanges) {
    Finder<> finder(inString, inFind, inRange, inFlags);
    if (!finder.Open(nullptr)) return false;
    CFRange found;
    while (finder.Next(found)) {
        if (!outRanges.Append(found)) return false;
    }
    if ((inFlags & kCFCompareBackwards) != 0)
        std::reverse(outRanges.Data(), outRanges.Data() + outRanges.Count());
    return true;
}

// The text with every range replaced.
bool BuildReplaced(const StringObject& inString, const StringObject& inReplacement, const Ranges& inRanges,
                   UnitArray& outText) {
    CFIndex position = 0;
    for (CFIndex i = 0; i < inRanges.Count(); ++i) {
        const CFRange range = inRanges[i];
        if (!outText.Append(inString.characters + position, range.location - position) ||
            !outText.Append(inReplacement.characters, inReplacement.length))
            return false;
        position = range.location + range.length;
    }
    return outText.Append(inString.characters + position, inString.length - position);
}

}  // namespace

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

Boolean CFStringFindWithOptionsAndLocale(CFStringRef inString, CFStringRef inFind, CFRange inRange,
                                         CFStringCompareFlags inFlags, CFLocaleRef inLocale,
                                         CFRange* outFound) {
    Finder<> finder(inString, inFind, inRange, inFlags);
    CFRange found;
    if (!finder.Open(inLocale) || !finder.Next(found)) return false;
    if (outFound != nullptr) *outFound = found;
    return true;
}

Boolean CFStringFindWithOptions(CFStringRef inString, CFStringRef inFind, CFRange inRange,
                                CFStringCompareFlags inFlags, CFRange* outFound) {
    return CFStringFindWithOptionsAndLocale(inString, inFind, inRange, inFlags, nullptr, outFound);
}

CFRange CFStringFind(CFStringRef inString, CFStringRef inFind, CFStringCompareFlags inFlags) {
    CFRange found = CFRangeMake(kCFNotFound, 0);
    CFStringFindWithOptions(inString, inFind, CFRangeMake(0, CFStringGetLength(inString)), inFlags, &found);
    return found;
}

Boolean CFStringHasPrefix(CFStringRef inString, CFStringRef inPrefix) {
    return CFStringFind(inString, inPrefix, kCFCompareAnchored).location != kCFNotFound;
}

Boolean CFStringHasSuffix(CFStringRef inString, CFStringRef inSuffix) {
    return CFStringFind(inString, inSuffix, kCFCompareAnchored | kCFCompareBackwards).location != kCFNotFound;
}

CFIndex CFStringFindAndReplace(CFMutableStringRef ioString, CFStringRef inFind, CFStringRef inReplacement,
                               CFRange inRange, CFStringCompareFlags inFlags) {
    MutableStringObject* string = MutableOf(ioString);
    if (string == nullptr || inFind == nullptr || inReplacement == nullptr) return 0;
    Ranges ranges;
    if (!FindAll(ioString, inFind, inRange, inFlags, ranges) || ranges.Count() == 0) return 0;
    UnitArray text;
    if (!BuildReplaced(string->string, ObjectOf(inReplacement), ranges, text)) return 0;
    const CFRange all = CFRangeMake(0, string->string.length);
    return ReplaceUnits(*string, all, text.Data(), text.Count()) ? ranges.Count() : 0;
}
