#include "Finder.h"

#include "Locale.h"

namespace toolbox::corefoundation {

namespace {

std::u16string_view ViewOf(const UniChar* inUnits, CFIndex inCount) {
    return {reinterpret_cast<const char16_t*>(inUnits), static_cast<std::size_t>(inCount)};
}

}  // namespace

bool Finder::Open(CFLocaleRef inLocale) {
    if (!IsInside(mString, mRange) || mRange.length == 0 || mFind.length == 0) return false;
    mIsFolded = (mFlags & kFoldingFlags) != 0;
    mText = ViewOf(mString.characters + mRange.location, mRange.length);
    mSought = ViewOf(mFind.characters, mFind.length);
    if (mIsFolded) {
        const bool isTurkic = (mFlags & kCFCompareLocalized) != 0 && IsTurkic(inLocale);
        const CFRange all = CFRangeMake(0, mFind.length);
        if (!FoldText(mFind.characters, all, mFlags, isTurkic, mFoldedFind) ||
            !FoldText(mString.characters, mRange, mFlags, isTurkic, mFoldedText)) {
            return false;
        }
        mText = ViewOf(mFoldedText.units.Data(), mFoldedText.units.Count());
        mSought = ViewOf(mFoldedFind.units.Data(), mFoldedFind.units.Count());
    }
    mEnd = static_cast<CFIndex>(mText.size());
    // Of marks alone, folding may have left nothing.
    return !mSought.empty();
}

bool Finder::Next(CFRange& outFound) {
    const auto count = static_cast<CFIndex>(mSought.size());
    const bool isBackwards = (mFlags & kCFCompareBackwards) != 0;
    const bool isAnchored = (mFlags & kCFCompareAnchored) != 0;
    CFIndex position = isBackwards ? mEnd - count : mStart;
    while (position >= mStart && position + count <= mEnd) {
        const CFIndex found = FindFrom(position);
        if (found == kCFNotFound) return false;
        if (IsWhole(found, found + count)) {
            outFound = RangeOf(found, found + count);
            (isBackwards ? mEnd : mStart) = isBackwards ? found : found + count;
            return true;
        }
        if (isAnchored) return false;
        position = isBackwards ? found - 1 : found + 1;
    }
    return false;
}

// Where the text sought is, at the position or beyond it; when anchored, only at it.
CFIndex Finder::FindFrom(CFIndex inPosition) const {
    const auto position = static_cast<std::size_t>(inPosition);
    if ((mFlags & kCFCompareAnchored) != 0) {
        return mText.compare(position, mSought.size(), mSought) == 0 ? inPosition : CFIndex{kCFNotFound};
    }
    const std::size_t found =
        (mFlags & kCFCompareBackwards) != 0 ? mText.rfind(mSought, position) : mText.find(mSought, position);
    return found == std::u16string_view::npos ? CFIndex{kCFNotFound} : static_cast<CFIndex>(found);
}

// Whether a part of the folded text is of whole pieces of the text itself.
bool Finder::IsWhole(CFIndex inStart, CFIndex inEnd) const {
    if (!mIsFolded) return true;
    const auto& starts = mFoldedText.starts;
    return (inStart == 0 || starts[inStart] != starts[inStart - 1]) &&
           (inEnd == starts.Count() || starts[inEnd] != starts[inEnd - 1]);
}

CFRange Finder::RangeOf(CFIndex inStart, CFIndex inEnd) const {
    if (!mIsFolded) return CFRangeMake(mRange.location + inStart, inEnd - inStart);
    const auto& starts = mFoldedText.starts;
    const CFIndex end = inEnd == starts.Count() ? mRange.location + mRange.length : starts[inEnd];
    return CFRangeMake(starts[inStart], end - starts[inStart]);
}

}  // namespace toolbox::corefoundation
