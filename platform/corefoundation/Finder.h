// Text found in text, one occurrence after the other.
#pragma once

#include <toolbox/CFString.h>

#include "Folding.h"
#include "StringObject.h"

#include <string_view>

namespace toolbox::corefoundation {

// Finds occurrences that do not overlap, from the one end of a range to the other. The strings are borrowed
// and must not change meanwhile.
class Finder {
  public:
    Finder(CFStringRef inString, CFStringRef inFind, CFRange inRange, CFStringCompareFlags inFlags)
        : mString(ObjectOf(inString)), mFind(ObjectOf(inFind)), mRange(inRange), mFlags(inFlags) {}

    // False when nothing can be found: the range is not inside the string, one of both texts is empty, or
    // memory is short.
    [[nodiscard]] bool Open(CFLocaleRef inLocale);
    // The next occurrence in the direction of the flags; false when there is none, and the output untouched.
    [[nodiscard]] bool Next(CFRange& outFound);

  private:
    CFIndex FindFrom(CFIndex inPosition) const;
    bool IsWhole(CFIndex inStart, CFIndex inEnd) const;
    CFRange RangeOf(CFIndex inStart, CFIndex inEnd) const;

    const StringObject& mString;
    const StringObject& mFind;
    CFRange mRange;
    CFStringCompareFlags mFlags;
    bool mIsFolded = false;
    FoldedText mFoldedText;
    FoldedText mFoldedFind;
    // What is searched, what for, and what remains to be searched of it: folded, or as it is.
    std::u16string_view mText;
    std::u16string_view mSought;
    CFIndex mStart = 0;
    CFIndex mEnd = 0;
};

}  // namespace toolbox::corefoundation
