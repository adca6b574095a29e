// Text to and from ICU, whose lengths are 32-bit.
#pragma once

#include "ICUCalls.h"
#include "SystemArray.h"

#include <unicode/utypes.h>

#include <limits>

namespace toolbox::corefoundation {

inline UErrorCode StartStatus() {
    return static_cast<UErrorCode>(sICUCalls.startStatus());
}

inline bool FitsICU(CFIndex inLength) {
    return inLength <= std::numeric_limits<int32_t>::max();
}

inline const UChar* ICUUnits(const UniChar* inUnits) {
    return reinterpret_cast<const UChar*>(inUnits);
}

// Fills outText by inWrite(units, capacity, status), which returns the length as ICU's functions do. False
// when it fails or memory is short.
template <typename Write>
[[nodiscard]] bool WriteText(UnitArray& outText, Write inWrite) {
    UErrorCode status = StartStatus();
    const auto write = [&] {
        const auto capacity = static_cast<int32_t>(std::min<CFIndex>(outText.Capacity(), 0x7FFFFFFF));
        return inWrite(reinterpret_cast<UChar*>(outText.Data()), capacity, &status);
    };
    int32_t length = write();
    // The length needed is told then. A text that just fits gives a warning that it has no terminator, which
    // is no failure.
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        outText.SetCount(0);
        if (!outText.Reserve(length)) return false;
        status = StartStatus();
        length = write();
    }
    if (U_FAILURE(status)) return false;
    outText.SetCount(length);
    return true;
}

}  // namespace toolbox::corefoundation
