// The one place where the system's error becomes a status.
#pragma once

#include <toolbox/MacTypes.h>

namespace toolbox {

// The status that answers for a failed call; noErr for 0, ioErr for what has no meaning of its own here.
[[nodiscard]] OSStatus StatusOfErrno(int inErrno);

// The system's own words for the last error that had no meaning of its own here, where that became the
// status; else "". Of this thread, since it was last told to forget.
void ForgetSystemError();
const char* SystemErrorText(OSStatus inStatus);

}  // namespace toolbox
