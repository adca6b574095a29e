// Core Foundation blocks of bytes, as property lists have them: immutable.
#pragma once

#include <toolbox/CFBase.h>

TOOLBOX_EXTERN_C_BEGIN

typedef const struct OpaqueCFData* CFDataRef;

TOOLBOX_EXPORT CFTypeID CFDataGetTypeID(void);
TOOLBOX_EXPORT CFIndex CFDataGetLength(CFDataRef inData);  // bytes
// Borrowed; never null, even of no bytes.
TOOLBOX_EXPORT const UInt8* CFDataGetBytePtr(CFDataRef inData);

TOOLBOX_EXTERN_C_END
