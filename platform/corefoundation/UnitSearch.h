// Units found in units, in a time that grows with the lengths of both whatever they hold, and without memory:
// the two-way string matching of Crochemore and Perrin (Journal of the ACM 38, 1991).
#pragma once

#include <toolbox/CFString.h>

#include <algorithm>
#include <cassert>
#include <string_view>

namespace toolbox::corefoundation {

struct UnitComparison {
    int operator()(char16_t inLeft, char16_t inRight) const { return int{inLeft} - int{inRight}; }
};

// Occurrences in their order from one end of a text to the other. The views are borrowed.
//   Comparison  the order of two units. For all occurrences together it is asked at most five times for each
//               unit sought and twice for each of the text
template <typename Comparison = UnitComparison>
class UnitSearch {
  public:
    UnitSearch() = default;
    // inSought is not empty.
    UnitSearch(std::u16string_view inText, std::u16string_view inSought, bool inIsBackwards,
               Comparison inCompare)
        : mTextCount(static_cast<CFIndex>(inText.size())),
          mCount(static_cast<CFIndex>(inSought.size())),
          mStep(inIsBackwards ? -1 : 1),
          mTextOrigin(inIsBackwards ? mTextCount - 1 : 0),
          mSoughtOrigin(inIsBackwards ? mCount - 1 : 0),
          mText(inText.data()),
          mSought(inSought.data()),
          mCompare(inCompare) {
        assert(!inSought.empty());
    }

    // Where the next occurrence starts, which may overlap the last one. False when there is none.
    bool Next(CFIndex& outStart) {
        if (mPosition > mTextCount - mCount) return false;
        if (mPeriod == 0) Split();
        while (SkipDifferent()) {
            const CFIndex end = EqualEnd();
            if (end < mCount) {
                mPosition += end - mSplit + 1;
                mKnownCount = 0;
                continue;
            }
            const bool isFound = IsFrontEqual();
            mFound = mPosition;
            mPosition += mPeriod;
            mKnownCount = mIsPeriodic ? mCount - mPeriod : 0;
            if (!isFound) continue;
            outStart = StartOf(mFound);
            return true;
        }
        return false;
    }

    // Whether the next occurrence is right here: where the search begins, or behind the last one.
    bool IsHere(CFIndex& outStart) {
        if (mPosition > mTextCount - mCount) return false;
        for (CFIndex i = 0; i < mCount; ++i)
            if (!IsEqual(i)) return false;
        mFound = mPosition;
        outStart = StartOf(mFound);
        return true;
    }

    // Goes on behind the last occurrence instead of inside it.
    void LeaveFound() {
        mPosition = mFound + mCount;
        mKnownCount = 0;
    }

  private:
    struct Suffix {
        CFIndex start;
        CFIndex period;
    };

    char16_t TextAt(CFIndex inPosition) const { return mText[mTextOrigin + inPosition * mStep]; }
    char16_t SoughtAt(CFIndex inIndex) const { return mSought[mSoughtOrigin + inIndex * mStep]; }
    bool IsEqual(CFIndex inIndex) const {
        return mCompare(SoughtAt(inIndex), TextAt(mPosition + inIndex)) == 0;
    }
    CFIndex StartOf(CFIndex inPosition) const {
        return mStep > 0 ? inPosition : mTextCount - inPosition - mCount;
    }

    // Most places differ in the unit at the split already. False when no other is left.
    bool SkipDifferent() {
        const CFIndex last = mTextCount - mCount;
        if (mPosition > last || mKnownCount > mSplit) return mPosition <= last;
        const char16_t sought = SoughtAt(mSplit);
        const CFIndex before = mPosition;
        while (mPosition <= last && mCompare(sought, TextAt(mPosition + mSplit)) != 0)
            ++mPosition;
        if (mPosition > before) mKnownCount = 0;
        return mPosition <= last;
    }

    // The end of the units that are equal behind the split, or behind those that are known to be equal.
    CFIndex EqualEnd() const {
        CFIndex i = std::max(mSplit + 1, mKnownCount);
        while (i < mCount && IsEqual(i))
            ++i;
        return i;
    }
    bool IsFrontEqual() const {
        CFIndex i = mSplit;
        while (i > mKnownCount && IsEqual(i - 1))
            --i;
        return i <= mKnownCount;
    }

    // Splits what is sought where a mismatch behind the split allows a move past the unit that differs: at
    // the later one of its two greatest suffixes, in the order of units and in the opposite one.
    void Split() {
        const Suffix upwards = GreatestSuffix(1), downwards = GreatestSuffix(-1);
        const Suffix& suffix = upwards.start > downwards.start ? upwards : downwards;
        mSplit = suffix.start;
        mPeriod = suffix.period;
        mIsPeriodic = true;
        for (CFIndex i = 0; i < mSplit && mIsPeriodic; ++i)
            mIsPeriodic = mCompare(SoughtAt(i), SoughtAt(i + mPeriod)) == 0;
        if (!mIsPeriodic) mPeriod = std::max(mSplit, mCount - mSplit) + 1;
    }

    Suffix GreatestSuffix(int inDirection) const {
        Suffix suffix = {0, 1};
        CFIndex other = 1;  // where a suffix starts that may be greater
        CFIndex same = 0;   // units in which it is not, yet
        while (other + same < mCount) {
            const int order = inDirection * mCompare(SoughtAt(other + same), SoughtAt(suffix.start + same));
            if (order > 0) {
                suffix = {other, 1};
                ++other;
                same = 0;
            } else if (order < 0) {
                other += same + 1;
                same = 0;
                suffix.period = other - suffix.start;
            } else if (++same == suffix.period) {
                other += suffix.period;
                same = 0;
            }
        }
        return suffix;
    }

    // Positions and indexes count from the end that the search begins at.
    CFIndex mTextCount = 0;
    CFIndex mCount = 0;
    CFIndex mStep = 1;
    CFIndex mTextOrigin = 0;
    CFIndex mSoughtOrigin = 0;
    const char16_t* mText = nullptr;
    const char16_t* mSought = nullptr;
    Comparison mCompare{};
    CFIndex mSplit = 0;
    CFIndex mPeriod = 0;       // by which a found occurrence is left; 0 before the split is made
    bool mIsPeriodic = false;  // all of what is sought repeats after mPeriod
    CFIndex mPosition = 0;     // where the next occurrence may be
    CFIndex mKnownCount = 0;   // units there that are known to be equal
    CFIndex mFound = 0;
};

}  // namespace toolbox::corefoundation
