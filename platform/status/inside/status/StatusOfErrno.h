// The one place where the system's error becomes a status.
#pragma once

#include <toolbox/MacTypes.h>

namespace toolbox {

// The status that answers for a failed call; noErr for 0, ioErr for what has no meaning of its own here.
[[nodiscard]] OSStatus StatusOfErrno(int inErrno);

}  // namespace toolbox
