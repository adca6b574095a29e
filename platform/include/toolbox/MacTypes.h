// The toolbox's basic types. Every one has the same width on every host; a number with more than one byte
// is in host byte order unless the record that holds it says otherwise.
#pragma once

#include <stddef.h>
#include <stdint.h>

typedef uint8_t UInt8;
typedef int8_t SInt8;
typedef uint16_t UInt16;
typedef int16_t SInt16;
typedef uint32_t UInt32;
typedef int32_t SInt32;
typedef uint64_t UInt64;
typedef int64_t SInt64;

typedef unsigned char Boolean;  // 0 or 1
typedef SInt16 OSErr;           // 0 is success
typedef SInt32 OSStatus;        // 0 is success
typedef UInt32 FourCharCode;    // four characters, the first in the most significant byte
typedef FourCharCode OSType;
typedef FourCharCode ResType;
typedef UInt16 UniChar;              // a UTF-16 code unit
typedef unsigned long UniCharCount;  // of those
typedef unsigned long ItemCount;
typedef UInt32 OptionBits;
typedef SInt32 Fixed;  // 16.16 fixed point
typedef UInt32 UnsignedFixed;

typedef char* Ptr;
typedef Ptr* Handle;                // address of a master pointer; see MacMemory.h
typedef unsigned long ByteCount;    // bytes
typedef SInt32 Size;                // bytes; negative is never legal
typedef unsigned char Str255[256];  // a length byte and up to 255 bytes of text
typedef unsigned char* StringPtr;
typedef const unsigned char* ConstStr255Param;
typedef UInt32 TextEncoding;

typedef struct UnsignedWide {
    UInt32 hi;
    UInt32 lo;
} UnsignedWide;

typedef struct Rect {
    SInt16 top;
    SInt16 left;
    SInt16 bottom;
    SInt16 right;
} Rect;

#ifdef __cplusplus
// The code for four characters written as a literal: FourChars("soun").
constexpr FourCharCode FourChars(const char (&inText)[5]) {
    return static_cast<FourCharCode>(static_cast<unsigned char>(inText[0])) << 24 |
           static_cast<FourCharCode>(static_cast<unsigned char>(inText[1])) << 16 |
           static_cast<FourCharCode>(static_cast<unsigned char>(inText[2])) << 8 |
           static_cast<FourCharCode>(static_cast<unsigned char>(inText[3]));
}
#endif
