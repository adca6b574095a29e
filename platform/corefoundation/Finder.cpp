#include "Finder.h"

#include "Locale.h"

namespace toolbox::corefoundation {

namespace {

std::u16string_view ViewOf(const UniChar* inUnits, CFIndex inCount) {
    return {reinterpret_cast<const char16_t*>(inUnits), static_cast<std::size_t>(inCount)};
}

}  // namespace

bool SearchedTexts::Open(CFLocaleRef inLocale) {
    if (!IsInside(mString, mRange) || mRange.length == 0 || mFind.length == 0) return false;
    mIsFolded = (mFlags & kFoldingFlags) != 0;
    mText = ViewOf(mString.characters + mRange.location, mRange.length);
    mSought = ViewOf(mFind.characters, mFind.length);
    if (mIsFolded) {
        const bool isTurkic = (mFlags & kCFCompareLocalized) != 0 && IsTurkic(inLocale);
        const CFRange all = CFRangeMake(0, mFind.length);
        if (!FoldText(mFind.characters, all, mFlags, isTurkic, mFoldedFind) ||
            !FoldText(mString.characters, mRange, mFlags, isTurkic, mFoldedText))
            return false;
        mText = ViewOf(mFoldedText.units.Data(), mFoldedText.units.Count());
        mSought = ViewOf(mFoldedFind.units.Data(), mFoldedFind.units.Count());
    }
    // Of marks alone, folding may have left nothing.
    return !mSought.empty();
}

bool SearchedTexts::IsWhole(CFIndex inStart, CFIndex inEnd) const {
    if (!mIsFolded) return true;
    const auto& starts = mFoldedText.starts;
    return (inStart == 0 || starts[inStart] != starts[inStart - 1]) &&
           (inEnd == starts.Count() || starts[inEnd] != starts[inEnd - 1]);
}

CFRange SearchedTexts::RangeOf(CFIndex inStart, CFIndex inEnd) const {
    if (!mIsFolded) return CFRangeMake(mRange.location + inStart, inEnd - inStart);
    const auto& starts = mFoldedText.starts;
    const CFIndex end = inEnd == starts.Count() ? mRange.location + mRange.length : starts[inEnd];
    return CFRangeMake(starts[inStart], end - starts[inStart]);
}

}  // namespace toolbox::corefoundation
