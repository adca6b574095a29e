// Order of strings: by code unit, or with case, canonical equivalence, numbers or a locale considered.
#include "Folding.h"
#include "StringObject.h"
#include "UnicodeText.h"
#include "os/Mutex.h"

#include <corefoundation/CurrentLocale.h>
#include <toolbox/CFString.h>
#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include <algorithm>

namespace toolbox::corefoundation {

namespace {

struct Text {
    const UniChar* units;
    CFIndex length;
};

// Text for ICU, whose lengths are 32-bit.
struct Units {
    const UChar* units;
    int32_t count;
};

Units UnitsOf(Text inText) {
    return {ICUUnits(inText.units), static_cast<int32_t>(inText.length)};
}

CFComparisonResult ResultOf(SInt64 inDifference) {
    return inDifference < 0   ? kCFCompareLessThan
           : inDifference > 0 ? kCFCompareGreaterThan
                              : kCFCompareEqualTo;
}

CFComparisonResult CompareLiterally(Text inLeft, Text inRight) {
    const CFIndex common = std::min(inLeft.length, inRight.length);
    const auto [left, right] = std::mismatch(inLeft.units, inLeft.units + common, inRight.units);
    if (left != inLeft.units + common) return ResultOf(SInt64{*left} - SInt64{*right});
    return ResultOf(inLeft.length - inRight.length);
}

bool IsDigit(UChar inUnit) {
    return u_charDigitValue(inUnit) >= 0;
}

// A run of digits without its leading zeros; the position moves behind it.
Units TakeNumber(Units inText, int32_t& ioPosition) {
    while (ioPosition < inText.count && u_charDigitValue(inText.units[ioPosition]) == 0)
        ++ioPosition;
    const int32_t start = ioPosition;
    while (ioPosition < inText.count && IsDigit(inText.units[ioPosition]))
        ++ioPosition;
    return {inText.units + start, ioPosition - start};
}

SInt64 CompareNumbers(Units inLeft, Units inRight) {
    if (inLeft.count != inRight.count) return SInt64{inLeft.count} - inRight.count;
    for (int32_t i = 0; i < inLeft.count; ++i) {
        const int32_t difference = u_charDigitValue(inLeft.units[i]) - u_charDigitValue(inRight.units[i]);
        if (difference != 0) return difference;
    }
    return 0;
}

// A number is one symbol, ordered as the character 0 is among the others and by its value among numbers.
CFComparisonResult CompareWithNumbers(Units inLeft, Units inRight) {
    int32_t left = 0;
    int32_t right = 0;
    while (left < inLeft.count && right < inRight.count) {
        const bool isLeftDigit = IsDigit(inLeft.units[left]);
        const bool isRightDigit = IsDigit(inRight.units[right]);
        if (isLeftDigit && isRightDigit) {
            const Units leftNumber = TakeNumber(inLeft, left);
            const Units rightNumber = TakeNumber(inRight, right);
            const SInt64 difference = CompareNumbers(leftNumber, rightNumber);
            if (difference != 0) return ResultOf(difference);
            continue;
        }
        const SInt64 leftOrder = isLeftDigit ? u'0' : inLeft.units[left];
        const SInt64 rightOrder = isRightDigit ? u'0' : inRight.units[right];
        if (leftOrder != rightOrder) return ResultOf(leftOrder - rightOrder);
        ++left;
        ++right;
    }
    return ResultOf(SInt64{inLeft.count - left} - SInt64{inRight.count - right});
}

void SetStrength(UCollator* ioCollator, bool inIgnoresCase, bool inIgnoresMarks, UErrorCode* ioStatus) {
    if (inIgnoresMarks) {
        ucol_setAttribute(ioCollator, UCOL_STRENGTH, UCOL_PRIMARY, ioStatus);
        if (!inIgnoresCase) ucol_setAttribute(ioCollator, UCOL_CASE_LEVEL, UCOL_ON, ioStatus);
    } else if (inIgnoresCase) {
        ucol_setAttribute(ioCollator, UCOL_STRENGTH, UCOL_SECONDARY, ioStatus);
    }
}

// Collators of the locale, made when first needed and shared from then on: one
// that nobody changes any more may be used on any thread.
const UCollator* FindCollator(CFStringCompareFlags inFlags) {
    static os::Mutex sMutex;
    static UCollator* sCollators[8] GUARDED_BY(sMutex) = {};
    const bool ignoresCase = (inFlags & kCFCompareCaseInsensitive) != 0;
    const bool ignoresMarks = (inFlags & kCFCompareDiacriticInsensitive) != 0;
    const bool isNumeric = (inFlags & kCFCompareNumerically) != 0;
    const os::MutexLock lock(sMutex);
    UCollator*& collator = sCollators[(ignoresCase ? 1 : 0) + (isNumeric ? 2 : 0) + (ignoresMarks ? 4 : 0)];
    if (collator != nullptr) return collator;
    LocaleName locale;
    if (!GetCollationLocaleName(locale)) return nullptr;
    UErrorCode status = StartStatus();
    UCollator* made = ucol_open(locale.text, &status);
    ucol_setAttribute(made, UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
    SetStrength(made, ignoresCase, ignoresMarks, &status);
    if (isNumeric) ucol_setAttribute(made, UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
    if (U_SUCCESS(status))
        collator = made;
    else
        ucol_close(made);
    return collator;
}

// Text as far as it has to be changed before it is compared.
class PreparedText {
  public:
    bool Prepare(Text inText, CFStringCompareFlags inFlags) {
        mText = inText;
        if ((inFlags & kFoldingFlags) == 0) return true;
        if (!FoldText(inText.units, CFRangeMake(0, inText.length), inFlags, false, mFolded)) return false;
        mText = {mFolded.units.Data(), mFolded.units.Count()};
        return FitsICU(mText.length);
    }
    Text Get() const { return mText; }

  private:
    Text mText{};
    FoldedText mFolded;
};

// Each of these is false when it cannot be told for want of memory.

bool CompareByLocale(Text inLeft, Text inRight, CFStringCompareFlags inFlags, CFComparisonResult& outResult) {
    const UCollator* collator = FindCollator(inFlags);
    if (collator == nullptr) return false;
    // What else is ignored, the collator ignores; a width is of the same weight to it as a case.
    PreparedText left;
    PreparedText right;
    if (!left.Prepare(inLeft, inFlags & kCFCompareWidthInsensitive) ||
        !right.Prepare(inRight, inFlags & kCFCompareWidthInsensitive))
        return false;
    const Units leftUnits = UnitsOf(left.Get());
    const Units rightUnits = UnitsOf(right.Get());
    outResult = ResultOf(
        ucol_strcoll(collator, leftUnits.units, leftUnits.count, rightUnits.units, rightUnits.count));
    return true;
}

bool CompareFolded(Text inLeft, Text inRight, CFStringCompareFlags inFlags, CFComparisonResult& outResult) {
    PreparedText left;
    PreparedText right;
    if (!left.Prepare(inLeft, inFlags) || !right.Prepare(inRight, inFlags)) return false;
    outResult = (inFlags & kCFCompareNumerically) != 0
                    ? CompareWithNumbers(UnitsOf(left.Get()), UnitsOf(right.Get()))
                    : CompareLiterally(left.Get(), right.Get());
    return true;
}

// Without a copy of either text.
bool CompareByCase(Units inLeft, Units inRight, CFStringCompareFlags inFlags, CFComparisonResult& outResult) {
    const bool ignoresCase = (inFlags & kCFCompareCaseInsensitive) != 0;
    UErrorCode status = StartStatus();
    const int32_t order = (inFlags & kCFCompareNonliteral) != 0
                              ? unorm_compare(inLeft.units, inLeft.count, inRight.units, inRight.count,
                                              ignoresCase ? U_COMPARE_IGNORE_CASE : 0, &status)
                              : u_strCaseCompare(inLeft.units, inLeft.count, inRight.units, inRight.count,
                                                 U_FOLD_CASE_DEFAULT, &status);
    outResult = ResultOf(order);
    return U_SUCCESS(status);
}

bool CompareByFlags(Text inLeft, Text inRight, CFStringCompareFlags inFlags, CFComparisonResult& outResult) {
    constexpr CFStringCompareFlags kByFolding =
        kCFCompareNumerically | kCFCompareDiacriticInsensitive | kCFCompareWidthInsensitive;
    if ((inFlags & kCFCompareLocalized) != 0) return CompareByLocale(inLeft, inRight, inFlags, outResult);
    if ((inFlags & kByFolding) != 0) return CompareFolded(inLeft, inRight, inFlags, outResult);
    return CompareByCase(UnitsOf(inLeft), UnitsOf(inRight), inFlags, outResult);
}

CFComparisonResult Compare(Text inLeft, Text inRight, CFStringCompareFlags inFlags) {
    constexpr CFStringCompareFlags kByMeaning = kFoldingFlags | kCFCompareLocalized | kCFCompareNumerically;
    CFComparisonResult result = kCFCompareEqualTo;
    const bool isLiteral = (inFlags & kByMeaning) == 0 || !FitsICU(inLeft.length) ||
                           !FitsICU(inRight.length) || !CompareByFlags(inLeft, inRight, inFlags, result);
    if (isLiteral || (result == kCFCompareEqualTo && (inFlags & kCFCompareForcedOrdering) != 0))
        return CompareLiterally(inLeft, inRight);
    return result;
}

}  // namespace

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFComparisonResult CFStringCompare(CFStringRef inString1, CFStringRef inString2,
                                   CFStringCompareFlags inFlags) {
    if (inString1 == inString2) return kCFCompareEqualTo;
    const StringObject& left = ObjectOf(inString1);
    const StringObject& right = ObjectOf(inString2);
    return Compare({left.characters, left.length}, {right.characters, right.length}, inFlags);
}

CFComparisonResult CFStringCompareWithOptions(CFStringRef inString1, CFStringRef inString2, CFRange inRange,
                                              CFStringCompareFlags inFlags) {
    const StringObject& left = ObjectOf(inString1);
    const StringObject& right = ObjectOf(inString2);
    const CFIndex start = std::clamp<CFIndex>(inRange.location, 0, left.length);
    const CFIndex length = std::clamp<CFIndex>(inRange.length, 0, left.length - start);
    return Compare({left.characters + start, length}, {right.characters, right.length}, inFlags);
}
