// What the running application says about its text.
#pragma once

#include <toolbox/CFString.h>

namespace toolbox::text {

// Looked up at the first call and kept; UTF-8 for now while something that passes, such as a want of
// descriptors, keeps it from being found. Any thread may be the first.
CFStringEncoding ApplicationEncoding();
// The next call looks it up again.
void ForgetApplicationEncoding();

}  // namespace toolbox::text
