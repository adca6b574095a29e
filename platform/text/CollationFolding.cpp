#include "CollationFolding.h"

#include "TextCalls.h"

#include <toolbox/MacErrors.h>
#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <limits>
#include <new>

namespace toolbox::text {

namespace {

UErrorCode StartStatus() {
    return static_cast<UErrorCode>(sTextCalls.startStatus());
}

// inChange(units, capacity, status) writes the text and returns its length, as ICU's functions do.
template <typename Change>
OSStatus Rewrite(std::u16string& ioText, Change inChange) {
    constexpr std::size_t kMax = std::numeric_limits<int32_t>::max();
    std::u16string changed(std::min(ioText.size() + ioText.size() / 2 + 16, kMax), u'\0');
    UErrorCode status = StartStatus();
    int32_t count = inChange(changed.data(), static_cast<int32_t>(changed.size()), &status);
    // The length needed is told then. Text that fills its room to the last unit gives a warning, which is no
    // failure: there is no room for a terminator, and none is wanted.
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        changed.resize(static_cast<std::size_t>(count));
        status = StartStatus();
        count = inChange(changed.data(), count, &status);
    }
    if (U_FAILURE(status)) return StatusOf(status);
    changed.resize(static_cast<std::size_t>(count));
    ioText = std::move(changed);
    return noErr;
}

OSStatus Decompose(std::u16string& ioText) {
    UErrorCode status = StartStatus();
    const UNormalizer2* const normalizer = unorm2_getNFDInstance(&status);
    if (U_FAILURE(status)) return StatusOf(status);
    return Rewrite(ioText, [&](UChar* outUnits, int32_t inCapacity, UErrorCode* ioStatus) {
        return unorm2_normalize(normalizer, ioText.data(), static_cast<int32_t>(ioText.size()), outUnits,
                                inCapacity, ioStatus);
    });
}

OSStatus FoldCase(std::u16string& ioText) {
    return Rewrite(ioText, [&](UChar* outUnits, int32_t inCapacity, UErrorCode* ioStatus) {
        return u_strFoldCase(outUnits, inCapacity, ioText.data(), static_cast<int32_t>(ioText.size()),
                             U_FOLD_CASE_DEFAULT, ioStatus);
    });
}

// The full- and half-width forms are all in the first plane, and stand for one unit each.
OSStatus FoldWidth(std::u16string& ioText) {
    UErrorCode status = StartStatus();
    const UNormalizer2* const compatible = unorm2_getNFKDInstance(&status);
    if (U_FAILURE(status)) return StatusOf(status);
    for (char16_t& unit : ioText) {
        if (unit != 0x3000 && (unit < 0xFF00 || unit > 0xFFEF)) continue;
        const int32_t kind = u_getIntPropertyValue(unit, UCHAR_DECOMPOSITION_TYPE);
        if (kind != U_DT_WIDE && kind != U_DT_NARROW) continue;
        UChar plain[2];
        status = StartStatus();
        // One step, not the whole decomposition, which takes half-width Hangul letters on to the parts that
        // syllables are made of.
        const int32_t count = unorm2_getRawDecomposition(compatible, unit, plain, 2, &status);
        if (U_FAILURE(status)) return StatusOf(status);
        if (count == 1) unit = plain[0];
    }
    return noErr;
}

}  // namespace

OSStatus Fold(std::u16string_view inText, UCCollateOptions inOptions, std::u16string& outFolded) try {
    const bool decomposes = (inOptions & kUCCollateComposeInsensitiveMask) != 0;
    outFolded = inText;
    OSStatus status = noErr;
    if ((inOptions & kUCCollateWidthInsensitiveMask) != 0) status = FoldWidth(outFolded);
    if (status == noErr && decomposes) status = Decompose(outFolded);
    if (status != noErr || (inOptions & kUCCollateCaseInsensitiveMask) == 0) return status;
    status = FoldCase(outFolded);
    // Folding may bring composed letters back.
    return status == noErr && decomposes ? Decompose(outFolded) : status;
} catch (const std::bad_alloc&) {
    return memFullErr;
}

}  // namespace toolbox::text
