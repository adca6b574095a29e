#include "TextCalls.h"

#include <toolbox/MacErrors.h>
#include <toolbox/UnicodeUtilities.h>
#include <unicode/utypes.h>

namespace toolbox::text {

namespace {

int StartWithSuccess() {
    return U_ZERO_ERROR;
}

}  // namespace

TextCalls sTextCalls = {StartWithSuccess};

OSStatus StatusOf(int inICUStatus) {
    if (U_SUCCESS(static_cast<UErrorCode>(inICUStatus))) return noErr;
    return inICUStatus == U_MEMORY_ALLOCATION_ERROR ? OSStatus{memFullErr}
                                                    : OSStatus{kCollateMissingUnicodeTableErr};
}

}  // namespace toolbox::text
