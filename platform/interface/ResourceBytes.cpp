#include "ResourceBytes.h"

#include "resources/Chain.h"

namespace toolbox::interface {

std::vector<UInt8> BytesOfResource(ResType inType, SInt16 inID) {
    std::vector<UInt8> bytes;
    resources::WithData(inType, inID, [&](const UInt8* inBytes, std::size_t inByteCount) {
        bytes.assign(inBytes, inBytes + inByteCount);
    });
    return bytes;
}

}  // namespace toolbox::interface
