// Universally unique identifiers: 16 bytes in the order in which they are written. Immutable, for any thread.
#pragma once

#include <toolbox/CFBase.h>
#include <toolbox/CFString.h>

TOOLBOX_EXTERN_C_BEGIN

typedef const struct OpaqueCFUUID* CFUUIDRef;
typedef struct CFUUIDBytes {
    UInt8 byte0;
    UInt8 byte1;
    UInt8 byte2;
    UInt8 byte3;
    UInt8 byte4;
    UInt8 byte5;
    UInt8 byte6;
    UInt8 byte7;
    UInt8 byte8;
    UInt8 byte9;
    UInt8 byte10;
    UInt8 byte11;
    UInt8 byte12;
    UInt8 byte13;
    UInt8 byte14;
    UInt8 byte15;
} CFUUIDBytes;

TOOLBOX_EXPORT CFTypeID CFUUIDGetTypeID(void);
// A new one, of random bytes (version 4). Null when the system gives none or memory is short.
TOOLBOX_MUST_USE CFUUIDRef CFUUIDCreate(CFAllocatorRef inAllocator);
// Any bytes. Null when memory is short.
TOOLBOX_MUST_USE CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef inAllocator, CFUUIDBytes inBytes);
// From 68753A44-4D6F-1226-9C60-0050E4C00067, in either case. Null when it is anything else, the string is
// null, or memory is short.
TOOLBOX_MUST_USE CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef inAllocator, CFStringRef inText);
// In that form, in capitals. Null when memory is short.
TOOLBOX_MUST_USE CFStringRef CFUUIDCreateString(CFAllocatorRef inAllocator, CFUUIDRef inUUID);
TOOLBOX_EXPORT CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef inUUID);

TOOLBOX_EXTERN_C_END
