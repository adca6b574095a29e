// Whole strings changed by Unicode's rules: case and normal forms.
#include "Locale.h"
#include "MutableString.h"
#include "UnicodeText.h"
#include "corefoundation/CurrentLocale.h"

#include <toolbox/CFMutableString.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

namespace toolbox::corefoundation {

namespace {

// inMap(source, sourceLength, out, capacity, status) as ICU's functions.
template <typename Map>
void MapText(CFMutableStringRef ioString, Map inMap) {
    MutableStringObject* string = MutableOf(ioString);
    if (string == nullptr || !FitsICU(string->string.length)) return;
    const UChar* source = ICUUnits(string->string.characters);
    const auto sourceLength = static_cast<int32_t>(string->string.length);
    if (sourceLength == 0) return;
    UnitArray mapped;
    if (!WriteText(mapped, [&](UChar* outUnits, int32_t inCapacity, UErrorCode* ioStatus) {
            return inMap(source, sourceLength, outUnits, inCapacity, ioStatus);
        })) {
        return;
    }
    ReplaceUnits(*string, CFRangeMake(0, string->string.length), mapped.Data(), mapped.Count());
}

const UNormalizer2* FindNormalizer(CFStringNormalizationForm inForm, UErrorCode* ioStatus) {
    switch (inForm) {
        case kCFStringNormalizationFormD:
            return unorm2_getNFDInstance(ioStatus);
        case kCFStringNormalizationFormKD:
            return unorm2_getNFKDInstance(ioStatus);
        case kCFStringNormalizationFormC:
            return unorm2_getNFCInstance(ioStatus);
        case kCFStringNormalizationFormKC:
            return unorm2_getNFKCInstance(ioStatus);
        default:
            return nullptr;
    }
}

}  // namespace

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

void CFStringLowercase(CFMutableStringRef ioString, CFLocaleRef inLocale) {
    MapText(ioString, [inLocale](const UChar* inSource, int32_t inSourceLength, UChar* outUnits,
                                 int32_t inCapacity, UErrorCode* ioStatus) {
        return u_strToLower(outUnits, inCapacity, inSource, inSourceLength, IdentifierOf(inLocale), ioStatus);
    });
}

void CFStringUppercase(CFMutableStringRef ioString, CFLocaleRef inLocale) {
    MapText(ioString, [inLocale](const UChar* inSource, int32_t inSourceLength, UChar* outUnits,
                                 int32_t inCapacity, UErrorCode* ioStatus) {
        return u_strToUpper(outUnits, inCapacity, inSource, inSourceLength, IdentifierOf(inLocale), ioStatus);
    });
}

void CFStringCapitalize(CFMutableStringRef ioString, CFLocaleRef inLocale) {
    MapText(ioString, [inLocale](const UChar* inSource, int32_t inSourceLength, UChar* outUnits,
                                 int32_t inCapacity, UErrorCode* ioStatus) {
        SpareICUTheVariable();
        return u_strToTitle(outUnits, inCapacity, inSource, inSourceLength, nullptr, IdentifierOf(inLocale),
                            ioStatus);
    });
}

void CFStringNormalize(CFMutableStringRef ioString, CFStringNormalizationForm inForm) {
    UErrorCode status = StartStatus();
    const UNormalizer2* normalizer = FindNormalizer(inForm, &status);
    if (normalizer == nullptr) return;
    MapText(ioString, [normalizer](const UChar* inSource, int32_t inSourceLength, UChar* outUnits,
                                   int32_t inCapacity, UErrorCode* ioStatus) {
        return unorm2_normalize(normalizer, inSource, inSourceLength, outUnits, inCapacity, ioStatus);
    });
}
