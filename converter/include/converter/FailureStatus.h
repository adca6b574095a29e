// What a failure of the engine means, for those who tell of it.
#pragma once

#include <foundation/LException.h>
#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>

// The toolbox's status of an exception, whose words are those of GetFailureText: its code, and memFullErr for
// "nilP". That is thrown for what could not be had, which of an exporter or reader opened with options can be
// memory only. (With a path alone they also throw it where there is no movie.)
[[nodiscard]] inline OSStatus StatusOfFailure(const LException& inException) {
    const auto code = static_cast<OSStatus>(inException.GetErrorCode());
    return code == static_cast<OSStatus>(FourChars("nilP")) ? OSStatus{memFullErr} : code;
}
