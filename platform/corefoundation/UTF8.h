// UTF-8 to UTF-16 and back, for text of any length.
#pragma once

#include "corefoundation/Encodings.h"

#include <toolbox/CFString.h>

namespace toolbox::corefoundation {

// UTF-16 units of well-formed UTF-8. Of other bytes a count that suffices for what DecodeUTF8 makes of them.
CFIndex CountUTF8Units(const UInt8* inBytes, CFIndex inByteCount);
// False when the bytes are not well-formed; what was written is then unspecified.
//   inUnitCount  what CountUTF8Units says of the same bytes; no more is written
[[nodiscard]] bool DecodeUTF8(const UInt8* inBytes, CFIndex inByteCount, UniChar* outUnits,
                              CFIndex inUnitCount);
// Until the end, the first surrogate without a partner, or the first character that does not fit.
//   outBytes  null: bytes are counted only
Encoded EncodeUTF8(const UniChar* inUnits, CFIndex inUnitCount, UInt8* outBytes, CFIndex inCapacity);

}  // namespace toolbox::corefoundation
