#include "Folding.h"

#include "UnicodeText.h"
#include "corefoundation/CaselessText.h"

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <new>
#include <utility>

namespace toolbox::corefoundation {

namespace {

constexpr UniChar kFirstMark = 0x0300;  // nothing below it combines

class Folder {
  public:
    Folder(CFStringCompareFlags inFlags, bool inIsTurkic, FoldedText& outText)
        : mText(outText),
          mIgnoresCase((inFlags & kCFCompareCaseInsensitive) != 0),
          mIgnoresMarks((inFlags & kCFCompareDiacriticInsensitive) != 0),
          mIgnoresWidth((inFlags & kCFCompareWidthInsensitive) != 0),
          mIsComposed((inFlags & kCFCompareNonliteral) != 0),
          mIsTurkic(inIsTurkic) {}

    bool Open() {
        UErrorCode status = StartStatus();
        mNFC = unorm2_getNFCInstance(&status);
        mNFD = unorm2_getNFDInstance(&status);
        mNFKC = unorm2_getNFKCInstance(&status);
        return U_SUCCESS(status);
    }

    bool Fold(const UniChar* inUnits, CFIndex inStart, CFIndex inEnd) {
        for (CFIndex start = inStart; start < inEnd;) {
            const bool isASCII =
                inUnits[start] < 0x80 && (start + 1 == inEnd || inUnits[start + 1] < kFirstMark);
            const CFIndex end = isASCII ? start + 1 : PieceEnd(inUnits, start, inEnd);
            const bool isDone = isASCII && !mIsTurkic ? AppendASCII(inUnits[start], start)
                                                      : AppendPiece(inUnits + start, end - start, start);
            if (!isDone) return false;
            start = end;
        }
        return true;
    }

  private:
    CFIndex PieceEnd(const UniChar* inUnits, CFIndex inStart, CFIndex inEnd) const {
        CFIndex end = inStart;
        UChar32 codePoint;
        U16_NEXT(inUnits, end, inEnd, codePoint);
        while (mIsComposed && end < inEnd) {
            CFIndex next = end;
            U16_NEXT(inUnits, next, inEnd, codePoint);
            if (unorm2_hasBoundaryBefore(mNFC, codePoint)) break;
            end = next;
        }
        return end;
    }

    bool Append(const UniChar* inUnits, CFIndex inCount, CFIndex inStart) {
        return mText.units.Append(inUnits, inCount) && mText.starts.AppendCopies(inStart, inCount);
    }

    bool AppendASCII(UniChar inUnit, CFIndex inStart) {
        const bool isCapital = inUnit >= 'A' && inUnit <= 'Z';
        const auto unit = static_cast<UniChar>(mIgnoresCase && isCapital ? inUnit + ('a' - 'A') : inUnit);
        return Append(&unit, 1, inStart);
    }

    // In the order of Unicode's canonical caseless matching (chapter 3.13, D145): decomposed, folded,
    // decomposed again, as folding may give composed characters and marks out of order.
    bool AppendPiece(const UniChar* inUnits, CFIndex inCount, CFIndex inStart) {
        if (!FitsICU(inCount)) return false;
        mPiece.SetCount(0);
        if (!mPiece.Append(inUnits, inCount)) return false;
        if (mIgnoresWidth && !MakeOrdinaryWidth()) return false;
        if (!DecomposeIfAsked()) return false;
        if (mIgnoresCase && !(FoldCase() && DecomposeIfAsked())) return false;
        return Append(mPiece.Data(), mPiece.Count(), inStart);
    }

    bool DecomposeIfAsked() {
        if (mIsComposed || mIgnoresMarks) {
            if (!Change([this](const UChar* inSource, int32_t inCount, UChar* outUnits, int32_t inCapacity,
                               UErrorCode* ioStatus) {
                    return unorm2_normalize(mNFD, inSource, inCount, outUnits, inCapacity, ioStatus);
                })) {
                return false;
            }
        }
        return !mIgnoresMarks || DropMarks();
    }

    bool FoldCase() {
        // ICU's name for the folding of Turkish and Azeri, in which I and dotless i are one letter, and
        // dotted I and i another.
        const uint32_t options = mIsTurkic ? U_FOLD_CASE_EXCLUDE_SPECIAL_I : U_FOLD_CASE_DEFAULT;
        return Change([options](const UChar* inSource, int32_t inCount, UChar* outUnits, int32_t inCapacity,
                                UErrorCode* ioStatus) {
            return u_strFoldCase(outUnits, inCapacity, inSource, inCount, options, ioStatus);
        });
    }

    bool DropMarks() {
        CFIndex kept = 0;
        for (CFIndex i = 0; i < mPiece.Count();) {
            const CFIndex start = i;
            UChar32 codePoint;
            U16_NEXT(mPiece.Data(), i, mPiece.Count(), codePoint);
            if (u_charType(codePoint) == U_NON_SPACING_MARK) continue;
            for (CFIndex from = start; from < i; ++from)
                mPiece[kept++] = mPiece[from];
        }
        mPiece.SetCount(kept);
        return true;
    }

    // Full-width and half-width forms are decompositions of their own kind, each of one code point.
    bool MakeOrdinaryWidth() {
        mChanged.SetCount(0);
        for (CFIndex i = 0; i < mPiece.Count();) {
            const CFIndex start = i;
            UChar32 codePoint;
            U16_NEXT(mPiece.Data(), i, mPiece.Count(), codePoint);
            const int32_t type = u_getIntPropertyValue(codePoint, UCHAR_DECOMPOSITION_TYPE);
            UChar ordinary[4];
            UErrorCode status = StartStatus();
            const int32_t count = type == U_DT_WIDE || type == U_DT_NARROW
                                      ? unorm2_getRawDecomposition(mNFKC, codePoint, ordinary, 4, &status)
                                      : 0;
            if (U_FAILURE(status)) return false;
            const bool isDone = count > 0 ? mChanged.Append(reinterpret_cast<const UniChar*>(ordinary), count)
                                          : mChanged.Append(mPiece.Data() + start, i - start);
            if (!isDone) return false;
        }
        return TakeChanged();
    }

    template <typename ICUChange>
    bool Change(ICUChange inChange) {
        const UChar* source = ICUUnits(mPiece.Data());
        const auto count = static_cast<int32_t>(mPiece.Count());
        mChanged.SetCount(0);
        return WriteText(mChanged,
                         [&](UChar* outUnits, int32_t inCapacity, UErrorCode* ioStatus) {
                             return inChange(source, count, outUnits, inCapacity, ioStatus);
                         }) &&
               TakeChanged();
    }

    bool TakeChanged() {
        mPiece.SetCount(0);
        return mPiece.Append(mChanged.Data(), mChanged.Count());
    }

    FoldedText& mText;
    const bool mIgnoresCase;
    const bool mIgnoresMarks;
    const bool mIgnoresWidth;
    const bool mIsComposed;
    const bool mIsTurkic;
    const UNormalizer2* mNFC = nullptr;
    const UNormalizer2* mNFD = nullptr;
    const UNormalizer2* mNFKC = nullptr;
    UnitArray mPiece;
    UnitArray mChanged;
};

}  // namespace

bool FoldText(const UniChar* inUnits, CFRange inRange, CFStringCompareFlags inFlags, bool inIsTurkic,
              FoldedText& outText) {
    Folder folder(inFlags, inIsTurkic && (inFlags & kCFCompareCaseInsensitive) != 0, outText);
    // Most of what a piece becomes is as long as it.
    return outText.units.Reserve(inRange.length) && outText.starts.Reserve(inRange.length) && folder.Open() &&
           folder.Fold(inUnits, inRange.location, inRange.location + inRange.length);
}

std::u16string CaselessText(std::u16string_view inText) {
    FoldedText folded;
    const CFRange all = CFRangeMake(0, static_cast<CFIndex>(inText.size()));
    if (!FoldText(reinterpret_cast<const UniChar*>(inText.data()), all,
                  kCFCompareCaseInsensitive | kCFCompareNonliteral, false, folded))
        throw std::bad_alloc();
    return {folded.units.Data(), folded.units.Data() + folded.units.Count()};
}

}  // namespace toolbox::corefoundation
