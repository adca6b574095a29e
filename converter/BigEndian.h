// Fields of toolbox records, which are big-endian bytes on every host.
#pragma once

#include <toolbox/MacTypes.h>

inline UInt16 GetBig16(const void* inAddress) {
    const auto* bytes = static_cast<const unsigned char*>(inAddress);
    return static_cast<UInt16>(bytes[0] << 8 | bytes[1]);
}

inline UInt32 GetBig32(const void* inAddress) {
    const auto* bytes = static_cast<const unsigned char*>(inAddress);
    return static_cast<UInt32>(GetBig16(bytes)) << 16 | GetBig16(bytes + 2);
}

inline void PutBig16(void* outAddress, UInt16 inValue) {
    auto* bytes = static_cast<unsigned char*>(outAddress);
    bytes[0] = static_cast<unsigned char>(inValue >> 8);
    bytes[1] = static_cast<unsigned char>(inValue);
}

inline void PutBig32(void* outAddress, UInt32 inValue) {
    PutBig16(outAddress, static_cast<UInt16>(inValue >> 16));
    PutBig16(static_cast<unsigned char*>(outAddress) + 2, static_cast<UInt16>(inValue));
}
