// Core Foundation arrays of objects, as property lists have them: immutable.
// Values are retained by the array; what is got from it is borrowed.
#pragma once

#include <toolbox/CFBase.h>

TOOLBOX_EXTERN_C_BEGIN

typedef const struct OpaqueCFArray* CFArrayRef;

TOOLBOX_EXPORT CFTypeID CFArrayGetTypeID(void);
TOOLBOX_EXPORT CFIndex CFArrayGetCount(CFArrayRef inArray);
// Null for an index outside the array.
TOOLBOX_EXPORT const void* CFArrayGetValueAtIndex(CFArrayRef inArray, CFIndex inIndex);

TOOLBOX_EXTERN_C_END
