// Order of strings: by code unit, or with case, canonical equivalence, numbers or a locale considered.
#include <toolbox/CFString.h>

#include "StringObject.h"

#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/uloc.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <mutex>

namespace toolbox::corefoundation {

namespace {

// Text for ICU, whose lengths are 32-bit.
struct Units {
    const UChar* units;
    int32_t count;
};

UErrorCode StartStatus() {
    return static_cast<UErrorCode>(sSystemCalls.startStatus());
}

CFComparisonResult ResultOf(SInt64 inDifference) {
    return inDifference < 0   ? kCFCompareLessThan
           : inDifference > 0 ? kCFCompareGreaterThan
                              : kCFCompareEqualTo;
}

CFComparisonResult CompareLiterally(const StringObject& inLeft, const StringObject& inRight) {
    const CFIndex common = std::min(inLeft.length, inRight.length);
    const auto [left, right] =
        std::mismatch(inLeft.characters, inLeft.characters + common, inRight.characters);
    if (left != inLeft.characters + common) return ResultOf(SInt64{*left} - SInt64{*right});
    return ResultOf(inLeft.length - inRight.length);
}

// A copy of text, changed: in place for short text, else in memory of its own.
class ChangedUnits {
  public:
    ChangedUnits() = default;
    ~ChangedUnits() {
        if (mHeap != nullptr) sSystemCalls.release(mHeap);
    }
    ChangedUnits(const ChangedUnits&) = delete;
    ChangedUnits& operator=(const ChangedUnits&) = delete;

    // inChange(units, capacity, status) writes the text and returns its length, as ICU's functions do.
    template <typename Change>
    bool Make(Change inChange) {
        UErrorCode status = StartStatus();
        mCount = inChange(mInline, kInlineCount, &status);
        if (status != U_BUFFER_OVERFLOW_ERROR) return U_SUCCESS(status);
        mHeap = static_cast<UChar*>(sSystemCalls.allocate(static_cast<std::size_t>(mCount) * sizeof(UChar)));
        if (mHeap == nullptr) return false;
        status = StartStatus();
        inChange(mHeap, mCount, &status);
        return U_SUCCESS(status);
    }

    Units Get() const { return {mHeap != nullptr ? mHeap : mInline, mCount}; }

  private:
    static constexpr int32_t kInlineCount = 128;
    UChar mInline[kInlineCount];
    UChar* mHeap = nullptr;
    int32_t mCount = 0;
};

// Text with case folded and canonically decomposed, as far as the flags ask for it.
class PreparedText {
  public:
    bool Prepare(Units inText, CFStringCompareFlags inFlags) {
        mText = inText;
        return ((inFlags & kCFCompareCaseInsensitive) == 0 || Fold()) &&
               ((inFlags & kCFCompareNonliteral) == 0 || Decompose());
    }
    Units Get() const { return mText; }

  private:
    bool Fold() {
        const Units text = mText;
        if (!mFolded.Make([text](UChar* outUnits, int32_t inCapacity, UErrorCode* ioStatus) {
                return u_strFoldCase(outUnits, inCapacity, text.units, text.count, U_FOLD_CASE_DEFAULT,
                                     ioStatus);
            })) {
            return false;
        }
        mText = mFolded.Get();
        return true;
    }

    bool Decompose() {
        UErrorCode status = StartStatus();
        const UNormalizer2* normalizer = unorm2_getNFDInstance(&status);
        if (U_FAILURE(status)) return false;
        const Units text = mText;
        if (!mDecomposed.Make([text, normalizer](UChar* outUnits, int32_t inCapacity, UErrorCode* ioStatus) {
                return unorm2_normalize(normalizer, text.units, text.count, outUnits, inCapacity, ioStatus);
            })) {
            return false;
        }
        mText = mDecomposed.Get();
        return true;
    }

    Units mText{};
    ChangedUnits mFolded;
    ChangedUnits mDecomposed;
};

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

// The locale of the process. One without customs (C, POSIX) has an order of its own only by code, which is no
// order for people: the common order of all locales stands in for it.
const char* CollationLocale() {
    const char* locale = uloc_getDefault();
    return std::strstr(locale, "POSIX") != nullptr ? "" : locale;
}

// Collators of the locale, made when first needed and shared from then on: one
// that nobody changes any more may be used on any thread.
const UCollator* FindCollator(CFStringCompareFlags inFlags) {
    static std::mutex sMutex;
    static UCollator* sCollators[4] = {};
    const bool ignoresCase = (inFlags & kCFCompareCaseInsensitive) != 0;
    const bool isNumeric = (inFlags & kCFCompareNumerically) != 0;
    const std::lock_guard lock(sMutex);
    UCollator*& collator = sCollators[(ignoresCase ? 1 : 0) + (isNumeric ? 2 : 0)];
    if (collator != nullptr) return collator;
    UErrorCode status = StartStatus();
    UCollator* made = ucol_open(CollationLocale(), &status);
    ucol_setAttribute(made, UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
    if (ignoresCase) ucol_setAttribute(made, UCOL_STRENGTH, UCOL_SECONDARY, &status);
    if (isNumeric) ucol_setAttribute(made, UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
    if (U_SUCCESS(status)) {
        collator = made;
    } else {
        ucol_close(made);
    }
    return collator;
}

// False when it cannot be told for want of memory.
bool CompareByFlags(Units inLeft, Units inRight, CFStringCompareFlags inFlags,
                    CFComparisonResult& outResult) {
    if ((inFlags & kCFCompareLocalized) != 0) {
        const UCollator* collator = FindCollator(inFlags);
        if (collator == nullptr) return false;
        outResult =
            ResultOf(ucol_strcoll(collator, inLeft.units, inLeft.count, inRight.units, inRight.count));
        return true;
    }
    if ((inFlags & kCFCompareNumerically) != 0) {
        PreparedText left;
        PreparedText right;
        if (!left.Prepare(inLeft, inFlags) || !right.Prepare(inRight, inFlags)) return false;
        outResult = CompareWithNumbers(left.Get(), right.Get());
        return true;
    }
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

}  // namespace

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

CFComparisonResult CFStringCompare(CFStringRef inString1, CFStringRef inString2,
                                   CFStringCompareFlags inFlags) {
    constexpr CFStringCompareFlags kByMeaning =
        kCFCompareCaseInsensitive | kCFCompareNonliteral | kCFCompareLocalized | kCFCompareNumerically;
    constexpr CFIndex kMaxUnits = std::numeric_limits<int32_t>::max();
    if (inString1 == inString2) return kCFCompareEqualTo;
    const StringObject& left = ObjectOf(inString1);
    const StringObject& right = ObjectOf(inString2);
    CFComparisonResult result = kCFCompareEqualTo;
    if ((inFlags & kByMeaning) != 0 && left.length <= kMaxUnits && right.length <= kMaxUnits) {
        const Units leftUnits = {reinterpret_cast<const UChar*>(left.characters),
                                 static_cast<int32_t>(left.length)};
        const Units rightUnits = {reinterpret_cast<const UChar*>(right.characters),
                                  static_cast<int32_t>(right.length)};
        if (CompareByFlags(leftUnits, rightUnits, inFlags, result)) return result;
    }
    return CompareLiterally(left, right);
}
