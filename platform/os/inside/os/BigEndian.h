// Big-endian numbers in bytes of any alignment.
#pragma once

#include <toolbox/MacTypes.h>

#include <cstddef>

namespace toolbox::os {

inline UInt16 Load16(const UInt8* inBytes) {
    return static_cast<UInt16>(inBytes[0] << 8 | inBytes[1]);
}

inline UInt32 Load32(const UInt8* inBytes) {
    return static_cast<UInt32>(Load16(inBytes)) << 16 | Load16(inBytes + 2);
}

inline UInt64 Load64(const UInt8* inBytes) {
    return UInt64{Load32(inBytes)} << 32 | Load32(inBytes + 4);
}

// Of a width that is known only at run time, at most 8 bytes.
inline UInt64 LoadNumber(const UInt8* inBytes, std::size_t inByteCount) {
    UInt64 number = 0;
    for (std::size_t i = 0; i < inByteCount; ++i)
        number = number << 8 | inBytes[i];
    return number;
}

inline void Store16(UInt8* outBytes, UInt16 inValue) {
    outBytes[0] = static_cast<UInt8>(inValue >> 8);
    outBytes[1] = static_cast<UInt8>(inValue);
}

inline void Store32(UInt8* outBytes, UInt32 inValue) {
    Store16(outBytes, static_cast<UInt16>(inValue >> 16));
    Store16(outBytes + 2, static_cast<UInt16>(inValue));
}

inline void Store64(UInt8* outBytes, UInt64 inValue) {
    Store32(outBytes, static_cast<UInt32>(inValue >> 32));
    Store32(outBytes + 4, static_cast<UInt32>(inValue));
}

}  // namespace toolbox::os
