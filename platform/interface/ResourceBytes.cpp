#include "ResourceBytes.h"

#include <toolbox/MacMemory.h>
#include <toolbox/Resources.h>

namespace toolbox::interface {

std::vector<UInt8> BytesOfResource(ResType inType, SInt16 inID) {
    const Handle resource = GetResource(inType, inID);
    if (resource == nullptr || *resource == nullptr) return {};
    const auto* const bytes = reinterpret_cast<const UInt8*>(*resource);
    return {bytes, bytes + GetHandleSize(resource)};
}

}  // namespace toolbox::interface
