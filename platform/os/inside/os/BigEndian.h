// Big-endian numbers in bytes of any alignment.
#pragma once

#include <toolbox/MacTypes.h>

namespace toolbox::os {

inline UInt16 Load16(const UInt8* inBytes) {
    return static_cast<UInt16>(inBytes[0] << 8 | inBytes[1]);
}

inline UInt32 Load32(const UInt8* inBytes) {
    return static_cast<UInt32>(Load16(inBytes)) << 16 | Load16(inBytes + 2);
}

inline void Store16(UInt8* outBytes, UInt16 inValue) {
    outBytes[0] = static_cast<UInt8>(inValue >> 8);
    outBytes[1] = static_cast<UInt8>(inValue);
}

inline void Store32(UInt8* outBytes, UInt32 inValue) {
    Store16(outBytes, static_cast<UInt16>(inValue >> 16));
    Store16(outBytes + 2, static_cast<UInt16>(inValue));
}

}  // namespace toolbox::os
