#include <foundation/TextUtilities.h>
#include <toolbox/MacErrors.h>
#include <toolbox/UnicodeUtilities.h>

namespace {

constexpr UCCollateOptions kFinderOptions =
    kUCCollateComposeInsensitiveMask | kUCCollateWidthInsensitiveMask | kUCCollatePunctuationSignificantMask |
    kUCCollateDigitsOverrideMask | kUCCollateDigitsAsNumberMask;
static_assert(kFinderOptions == 0x38006);

}  // namespace

long FinderCompare(long inLength1, const UniChar* inText1, long inLength2, const UniChar* inText2,
                   bool inCaseSensitive, bool inUseEquivalence) {
    if (inText1 == nullptr) return inText2 == nullptr ? 0 : -1;
    if (inText2 == nullptr) return 1;
    const UCCollateOptions options =
        inCaseSensitive ? kFinderOptions : kFinderOptions | kUCCollateCaseInsensitiveMask;
    Boolean isEquivalent = false;
    SInt32 order = 0;
    const OSStatus status = UCCompareTextDefault(options, inText1, static_cast<UniCharCount>(inLength1),
                                                 inText2, static_cast<UniCharCount>(inLength2),
                                                 inUseEquivalence ? &isEquivalent : nullptr, &order);
    return status != noErr || isEquivalent ? 0 : order;
}
