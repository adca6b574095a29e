// Core Foundation numbers and truth values: immutable.
#pragma once

#include <toolbox/CFBase.h>

TOOLBOX_EXTERN_C_BEGIN

typedef const struct OpaqueCFBoolean* CFBooleanRef;
typedef const struct OpaqueCFNumber* CFNumberRef;

// Constants: retained or released, they are never destroyed.
TOOLBOX_EXPORT extern const CFBooleanRef kCFBooleanTrue;
TOOLBOX_EXPORT extern const CFBooleanRef kCFBooleanFalse;

TOOLBOX_EXPORT CFTypeID CFBooleanGetTypeID(void);
TOOLBOX_EXPORT Boolean CFBooleanGetValue(CFBooleanRef inBoolean);

typedef CFIndex CFNumberType;
enum {
    kCFNumberSInt8Type = 1,
    kCFNumberSInt16Type = 2,
    kCFNumberSInt32Type = 3,
    kCFNumberSInt64Type = 4,
    kCFNumberFloat32Type = 5,
    kCFNumberFloat64Type = 6
};

TOOLBOX_EXPORT CFTypeID CFNumberGetTypeID(void);
// The number that inValue points to; kept as SInt64 or Float64. Null for an unknown type or a null pointer,
// or when memory is short.
TOOLBOX_MUST_USE CFNumberRef CFNumberCreate(CFAllocatorRef inAllocator, CFNumberType inType,
                                            const void* inValue);
// How the number is kept.
TOOLBOX_EXPORT CFNumberType CFNumberGetType(CFNumberRef inNumber);
TOOLBOX_EXPORT Boolean CFNumberIsFloatType(CFNumberRef inNumber);
// Stores the value at outValue. False when that lost something: the nearest value of the type is stored, and
// 0 for what is no number. False, storing nothing, for an unknown type.
TOOLBOX_EXPORT Boolean CFNumberGetValue(CFNumberRef inNumber, CFNumberType inType, void* outValue);

TOOLBOX_EXTERN_C_END
