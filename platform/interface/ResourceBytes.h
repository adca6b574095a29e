// The bytes of the application's resources.
#pragma once

#include <toolbox/MacTypes.h>

#include <vector>

namespace toolbox::interface {

// A copy of the resource's bytes, taken while no other thread can release it; none when it is missing, or for
// want of memory. Its handle stays in memory.
std::vector<UInt8> BytesOfResource(ResType inType, SInt16 inID);

}  // namespace toolbox::interface
