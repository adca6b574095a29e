// Text found in text, one occurrence after the other.
#pragma once

#include "Folding.h"
#include "StringObject.h"
#include "UnitSearch.h"

#include <toolbox/CFString.h>

#include <string_view>

namespace toolbox::corefoundation {

// A part of a text, and what is sought in it, as a search sees them: folded, or as they are. The strings are
// borrowed and must not change meanwhile.
class SearchedTexts {
  public:
    SearchedTexts(CFStringRef inString, CFStringRef inFind, CFRange inRange, CFStringCompareFlags inFlags)
        : mString(ObjectOf(inString)), mFind(ObjectOf(inFind)), mRange(inRange), mFlags(inFlags) {}

    // False when nothing can be found: the range is not inside the string, one of both texts is empty, or
    // memory is short.
    [[nodiscard]] bool Open(CFLocaleRef inLocale);

    std::u16string_view Text() const { return mText; }
    std::u16string_view Sought() const { return mSought; }
    // Whether a part of Text() is of whole pieces of the text itself.
    bool IsWhole(CFIndex inStart, CFIndex inEnd) const;
    // The range of the text itself that such a part is of.
    CFRange RangeOf(CFIndex inStart, CFIndex inEnd) const;

  private:
    const StringObject& mString;
    const StringObject& mFind;
    CFRange mRange;
    CFStringCompareFlags mFlags;
    bool mIsFolded = false;
    FoldedText mFoldedText;
    FoldedText mFoldedFind;
    std::u16string_view mText;
    std::u16string_view mSought;
};

// Finds occurrences that do not overlap, from the one end of a range to the other.
template <typename Comparison = UnitComparison>
class Finder {
  public:
    Finder(CFStringRef inString, CFStringRef inFind, CFRange inRange, CFStringCompareFlags inFlags,
           Comparison inCompare = {})
        : mTexts(inString, inFind, inRange, inFlags), mFlags(inFlags), mCompare(inCompare) {}

    // As SearchedTexts::Open.
    [[nodiscard]] bool Open(CFLocaleRef inLocale) {
        if (!mTexts.Open(inLocale)) return false;
        const bool isBackwards = (mFlags & kCFCompareBackwards) != 0;
        mSearch = UnitSearch<Comparison>(mTexts.Text(), mTexts.Sought(), isBackwards, mCompare);
        return true;
    }

    // The next occurrence in the direction of the flags; false when there is none, and the output untouched.
    [[nodiscard]] bool Next(CFRange& outFound) {
        const bool isAnchored = (mFlags & kCFCompareAnchored) != 0;
        CFIndex start;
        while (isAnchored ? mSearch.IsHere(start) : mSearch.Next(start)) {
            const CFIndex end = start + static_cast<CFIndex>(mTexts.Sought().size());
            if (mTexts.IsWhole(start, end)) {
                mSearch.LeaveFound();
                outFound = mTexts.RangeOf(start, end);
                return true;
            }
            if (isAnchored) return false;
        }
        return false;
    }

  private:
    SearchedTexts mTexts;
    CFStringCompareFlags mFlags;
    Comparison mCompare;
    UnitSearch<Comparison> mSearch;
};

}  // namespace toolbox::corefoundation
