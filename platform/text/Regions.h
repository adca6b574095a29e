// The encodings of the regions that software is made for.
#pragma once

#include <toolbox/CFString.h>

namespace toolbox::text {

// The encoding in which software for a region, by the code of its `vers` resource, keeps text; UTF-8 where
// that is none that is known here.
CFStringEncoding EncodingOfRegion(SInt16 inRegion);

}  // namespace toolbox::text
