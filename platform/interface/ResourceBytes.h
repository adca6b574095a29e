// The bytes of the application's resources.
#pragma once

#include <toolbox/MacTypes.h>

#include <vector>

namespace toolbox::interface {

// A copy of the resource's bytes; none when it is missing. A handle that was in memory before stays there. May
// throw std::bad_alloc.
std::vector<UInt8> BytesOfResource(ResType inType, SInt16 inID);

}  // namespace toolbox::interface
