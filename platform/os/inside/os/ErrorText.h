// The system's own words for its errors.
#pragma once

namespace toolbox::os {

// In English, whatever the locale, so that messages are of one language. Good until this thread asks again;
// "" where there is not even memory for it.
[[nodiscard]] const char* GetErrorText(int inErrno);

}  // namespace toolbox::os
