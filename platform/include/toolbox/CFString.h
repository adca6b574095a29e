// Core Foundation strings: UTF-16 text, immutable.
// Lengths and positions count UTF-16 code units. Conversions are strict: text that an encoding cannot hold, or
// bytes that are not text in it, fail rather than lose anything.
#pragma once

#include <toolbox/CFBase.h>

#ifdef __cplusplus
#include <type_traits>
#endif

TOOLBOX_EXTERN_C_BEGIN

typedef const struct OpaqueCFString* CFStringRef;
typedef UInt32 CFStringEncoding;
typedef CFOptionFlags CFStringCompareFlags;

enum {
    kCFStringEncodingMacRoman = 0,
    kCFStringEncodingMacJapanese = 1,
    kCFStringEncodingISOLatin1 = 0x0201,
    kCFStringEncodingWindowsLatin1 = 0x0500,
    kCFStringEncodingASCII = 0x0600,
    kCFStringEncodingNextStepLatin = 0x0B01,
    kCFStringEncodingUnicode = 0x0100,  // UTF-16 in the host's byte order
    kCFStringEncodingUTF8 = 0x08000100,
    kCFStringEncodingUTF16BE = 0x10000100,
    kCFStringEncodingUTF16LE = 0x14000100,
    kCFStringEncodingUTF32 = 0x0c000100
};
#define kCFStringEncodingInvalidId (0xffffffffU)

enum {
    kCFCompareCaseInsensitive = 1,
    kCFCompareBackwards = 4,
    kCFCompareAnchored = 8,
    kCFCompareNonliteral = 16,  // canonically equivalent text is equal
    kCFCompareLocalized = 32,   // by the current locale's collation
    kCFCompareNumerically = 64  // runs of digits by value: "Foo2" before "Foo25"
};

TOOLBOX_EXPORT CFTypeID CFStringGetTypeID(void);

// Null when the bytes are not text in the encoding, when the encoding is unknown, when the source is null, or when
// memory is short.
TOOLBOX_EXPORT CFStringRef CFStringCreateWithCString(CFAllocatorRef inAllocator, const char* inText,
                                                     CFStringEncoding inEncoding);
TOOLBOX_EXPORT CFStringRef CFStringCreateWithPascalString(CFAllocatorRef inAllocator, ConstStr255Param inText,
                                                          CFStringEncoding inEncoding);
TOOLBOX_EXPORT CFStringRef CFStringCreateWithBytes(CFAllocatorRef inAllocator, const UInt8* inBytes,
                                                   CFIndex inByteCount, CFStringEncoding inEncoding,
                                                   Boolean inIsExternalRepresentation);
TOOLBOX_EXPORT CFStringRef CFStringCreateWithCharacters(CFAllocatorRef inAllocator, const UniChar* inCharacters,
                                                        CFIndex inLength);
TOOLBOX_EXPORT CFStringRef CFStringCreateWithSubstring(CFAllocatorRef inAllocator, CFStringRef inString,
                                                       CFRange inRange);
TOOLBOX_EXPORT CFStringRef CFStringCreateCopy(CFAllocatorRef inAllocator, CFStringRef inString);

TOOLBOX_EXPORT CFIndex CFStringGetLength(CFStringRef inString);
TOOLBOX_EXPORT UniChar CFStringGetCharacterAtIndex(CFStringRef inString, CFIndex inIndex);
TOOLBOX_EXPORT void CFStringGetCharacters(CFStringRef inString, CFRange inRange, UniChar* outCharacters);

// False, with the buffer unspecified, when the text and its terminator (or length byte) do not fit in
// inBufferSize bytes or the encoding cannot hold it.
TOOLBOX_EXPORT Boolean CFStringGetCString(CFStringRef inString, char* outBuffer, CFIndex inBufferSize,
                                          CFStringEncoding inEncoding);
TOOLBOX_EXPORT Boolean CFStringGetPascalString(CFStringRef inString, StringPtr outBuffer, CFIndex inBufferSize,
                                               CFStringEncoding inEncoding);

TOOLBOX_EXPORT CFComparisonResult CFStringCompare(CFStringRef inString1, CFStringRef inString2,
                                                  CFStringCompareFlags inFlags);

// Mac Roman.
TOOLBOX_EXPORT CFStringEncoding CFStringGetSystemEncoding(void);

TOOLBOX_EXTERN_C_END

#ifdef __cplusplus
// The memory image of a string that the compiler lays out: never counted, never destroyed.
struct CFConstantString {
    const void* typeMarker;
    SInt64 retainCount;
    CFIndex length;
    const char16_t* characters;
};
TOOLBOX_EXPORT extern "C" const char kCFStringTypeMarker;

// CFSTR("text") is a constant string made by the compiler; the text is ASCII or UTF-8 in the source.
#define CFSTR(inLiteral)                                                                              \
    ([]() noexcept -> CFStringRef {                                                                   \
        static constexpr const char16_t kUnits[] = u"" inLiteral;                                     \
        static const CFConstantString kString = {&kCFStringTypeMarker, -1,                            \
                                                 static_cast<CFIndex>(sizeof(kUnits) / sizeof(kUnits[0])) - 1, \
                                                 kUnits};                                             \
        return reinterpret_cast<CFStringRef>(&kString);                                               \
    }())
#endif
