#include "CollationFolding.h"
#include "Collators.h"

#include <toolbox/MacErrors.h>
#include <toolbox/UnicodeUtilities.h>
#include <unicode/ucol.h>
#include <unicode/ustring.h>

#include <limits>

namespace toolbox::text {

namespace {

using Text = std::u16string_view;

constexpr UCCollateOptions kKnownOptions =
    kUCCollateStandardOptions | kUCCollateCaseInsensitiveMask | kUCCollateDiacritInsensitiveMask |
    kUCCollatePunctuationSignificantMask | kUCCollateDigitsOverrideMask | kUCCollateDigitsAsNumberMask;

enum Magnitude : SInt32 { kWeakest = 1, kCaseDiffers = 2, kAccentsDiffer = 3, kBaseDiffers = 4 };

struct Outcome {
    SInt32 order;
    bool isEquivalent;
};

bool IsValid(const UniChar* inText, UniCharCount inLength) {
    return inLength <= std::numeric_limits<int32_t>::max() && (inText != nullptr || inLength == 0);
}

// ICU wants a pointer even to no text.
Text TextOf(const UniChar* inText, UniCharCount inLength) {
    return inLength == 0 ? Text(u"") : Text(reinterpret_cast<const char16_t*>(inText), inLength);
}

int SignOf(int inDifference) {
    return (inDifference > 0) - (inDifference < 0);
}

// By code points, so that characters beyond the first plane come last.
int CompareCodePoints(Text inLeft, Text inRight) {
    return u_strCompare(inLeft.data(), static_cast<int32_t>(inLeft.size()), inRight.data(),
                        static_cast<int32_t>(inRight.size()), true);
}

// One comparison. Each step tells whether it has decided, in mOutcome or by a failure in mStatus.
class Comparison {
  public:
    Comparison(UCCollateOptions inOptions, Text inLeft, Text inRight)
        : mOptions(inOptions), mLeft(inLeft), mRight(inRight) {}

    OSStatus Run(Outcome& outOutcome) {
        if (mLeft != mRight && !DecideBySignificance()) DecideByTheRest();
        outOutcome = mOutcome;
        return mStatus;
    }

  private:
    bool Has(UCCollateOptions inOption) const { return (mOptions & inOption) != 0; }

    bool DecideBySignificance() {
        const bool looksAtAccents = !Has(kUCCollateDiacritInsensitiveMask);
        if (DecideAt(CollationLevel::kBase, kBaseDiffers)) return true;
        if (looksAtAccents && DecideAt(CollationLevel::kAccents, kAccentsDiffer)) return true;
        if (!Has(kUCCollateCaseInsensitiveMask) &&
            DecideAt(looksAtAccents ? CollationLevel::kCase : CollationLevel::kBaseAndCase, kCaseDiffers))
            return true;
        return looksAtAccents && DecideByForms();
    }

    bool DecideByForms() {
        std::u16string left;
        std::u16string right;
        mStatus = Fold(mLeft, mOptions, left);
        if (mStatus == noErr) mStatus = Fold(mRight, mOptions, right);
        if (mStatus != noErr) return true;
        if (left == right) return false;
        if (Decide(CollationLevel::kForms, kWeakest, left, right)) return true;
        // Ignored punctuation is all that is left, or something as invisible.
        if (!Has(kUCCollatePunctuationSignificantMask)) return false;
        mOutcome = {kWeakest * SignOf(CompareCodePoints(left, right)), false};
        return true;
    }

    void DecideByTheRest() {
        const bool isDecided = Decide(CollationLevel::kForms, kWeakest, mLeft, mRight);
        if (mStatus != noErr) return;
        if (!isDecided) mOutcome.order = kWeakest * SignOf(CompareCodePoints(mLeft, mRight));
        mOutcome.isEquivalent = true;
    }

    bool DecideAt(CollationLevel inLevel, Magnitude inMagnitude) {
        return Decide(inLevel, inMagnitude, mLeft, mRight);
    }

    bool Decide(CollationLevel inLevel, Magnitude inMagnitude, Text inLeft, Text inRight) {
        const CollationRules rules = {Has(kUCCollateDigitsOverrideMask) && Has(kUCCollateDigitsAsNumberMask),
                                      !Has(kUCCollatePunctuationSignificantMask)};
        const UCollator* collator = nullptr;
        mStatus = FindCollator(rules, inLevel, collator);
        if (mStatus != noErr) return true;
        const int difference = ucol_strcoll(collator, inLeft.data(), static_cast<int32_t>(inLeft.size()),
                                            inRight.data(), static_cast<int32_t>(inRight.size()));
        if (difference == 0) return false;
        mOutcome = {inMagnitude * difference, false};
        return true;
    }

    UCCollateOptions mOptions;
    Text mLeft;
    Text mRight;
    Outcome mOutcome{0, true};
    OSStatus mStatus = noErr;
};

}  // namespace

}  // namespace toolbox::text

using namespace toolbox::text;

OSStatus UCCompareTextDefault(UCCollateOptions inOptions, const UniChar* inText1, UniCharCount inLength1,
                              const UniChar* inText2, UniCharCount inLength2, Boolean* outEquivalent,
                              SInt32* outOrder) {
    if ((outEquivalent == nullptr && outOrder == nullptr) || !IsValid(inText1, inLength1) ||
        !IsValid(inText2, inLength2))
        return paramErr;
    if ((inOptions & ~kKnownOptions) != 0) return kCollateInvalidOptions;
    Outcome outcome{};
    const OSStatus status =
        Comparison(inOptions, TextOf(inText1, inLength1), TextOf(inText2, inLength2)).Run(outcome);
    if (status != noErr) return status;
    if (outEquivalent != nullptr) *outEquivalent = outcome.isEquivalent;
    if (outOrder != nullptr) *outOrder = outcome.order;
    return noErr;
}
