// Core Foundation strings: UTF-16 text. What can be changed of it is in CFMutableString.h, search in
// CFStringFind.h, formats in CFStringFormat.h; this header brings them along.
// Lengths and positions count UTF-16 code units. Conversions are strict: text that an encoding cannot hold,
// or bytes that are not text in it, fail rather than lose anything.
#pragma once

#include <toolbox/CFBase.h>
#include <toolbox/CFMutableString.h>
#include <toolbox/CFStringBase.h>
#include <toolbox/CFStringFind.h>
#include <toolbox/CFStringFormat.h>

TOOLBOX_EXTERN_C_BEGIN

TOOLBOX_EXPORT CFTypeID CFStringGetTypeID(void);

// Strings made from text. Null when the bytes are not text in the encoding, when the encoding is unknown,
// when the source is null or its length negative, or when memory is short. C and Pascal strings are in
// encodings of 8-bit units; UTF-16 and UTF-32 fail.
TOOLBOX_MUST_USE CFStringRef CFStringCreateWithCString(CFAllocatorRef inAllocator, const char* inText,
                                                       CFStringEncoding inEncoding);
TOOLBOX_MUST_USE CFStringRef CFStringCreateWithPascalString(CFAllocatorRef inAllocator,
                                                            ConstStr255Param inText,
                                                            CFStringEncoding inEncoding);
// An external representation, such as the contents of a file, may begin with a byte order mark, which is
// dropped: of UTF-8, and of Unicode and UTF-32 without a named order, which it tells; without a mark these
// are big-endian. Else a mark is a character like others, and the order is the host's.
TOOLBOX_MUST_USE CFStringRef CFStringCreateWithBytes(CFAllocatorRef inAllocator, const UInt8* inBytes,
                                                     CFIndex inByteCount, CFStringEncoding inEncoding,
                                                     Boolean inIsExternalRepresentation);
// Any UTF-16 units, surrogates without partners included.
TOOLBOX_MUST_USE CFStringRef CFStringCreateWithCharacters(CFAllocatorRef inAllocator,
                                                          const UniChar* inCharacters, CFIndex inLength);
// Null also when the range is not inside the string.
TOOLBOX_MUST_USE CFStringRef CFStringCreateWithSubstring(CFAllocatorRef inAllocator, CFStringRef inString,
                                                         CFRange inRange);
// The same object with a count more; of a mutable string, a new one that does not change with it.
TOOLBOX_MUST_USE CFStringRef CFStringCreateCopy(CFAllocatorRef inAllocator, CFStringRef inString);

// From here on a null string is the caller's mistake, and not caught.
TOOLBOX_EXPORT CFIndex CFStringGetLength(CFStringRef inString);
// 0 for an index outside the string.
TOOLBOX_EXPORT UniChar CFStringGetCharacterAtIndex(CFStringRef inString, CFIndex inIndex);
// Copies the units of the range that there are; room for the others stays as it was.
TOOLBOX_EXPORT void CFStringGetCharacters(CFStringRef inString, CFRange inRange, UniChar* outCharacters);

// The whole text and a terminator (or after a length byte) in outBuffer, which holds inBufferSize bytes.
// False, leaving an empty string in a buffer that holds one, when it does not fit (a Pascal string: in 255
// bytes either), when the encoding cannot hold the text, is unknown or is not one of 8-bit units. Only the
// buffer's own bytes are written; those behind the string are unspecified.
TOOLBOX_EXPORT Boolean CFStringGetCString(CFStringRef inString, char* outBuffer, CFIndex inBufferSize,
                                          CFStringEncoding inEncoding);
TOOLBOX_EXPORT Boolean CFStringGetPascalString(CFStringRef inString, StringPtr outBuffer,
                                               CFIndex inBufferSize, CFStringEncoding inEncoding);

// Converts as much of a range as fits and can be held, whole characters only, and returns how many units that
// was.
//   inLossByte                  stands in for each character that the encoding cannot hold; 0: stop there
//   inIsExternalRepresentation  a byte order mark first, for Unicode and UTF-32 without a named order
//   outBuffer                   null: nothing is written, and inBufferSize ignored
//   outUsedByteCount            bytes written, or that would be; may be null
// 0 and no bytes when the range is not inside the string, the encoding is unknown or the mark does not fit.
TOOLBOX_EXPORT CFIndex CFStringGetBytes(CFStringRef inString, CFRange inRange, CFStringEncoding inEncoding,
                                        UInt8 inLossByte, Boolean inIsExternalRepresentation,
                                        UInt8* outBuffer, CFIndex inBufferSize, CFIndex* outUsedByteCount);

// Without flags, by the values of the UTF-16 units. Case is ignored by full case folding. Numbers are runs of
// decimal digits, leading zeros ignored; among other characters they come where 0 is. The locale is the
// process's at the first localized comparison (in the C locale, the order common to all); its order always
// finds canonically equivalent text equal. Backwards and anchored have no meaning here. When memory is too
// short for what the flags ask, the result is that of no flags.
TOOLBOX_EXPORT CFComparisonResult CFStringCompare(CFStringRef inString1, CFStringRef inString2,
                                                  CFStringCompareFlags inFlags);
// The part of inString1 in inRange, cut to what there is of it, with the whole of inString2.
TOOLBOX_EXPORT CFComparisonResult CFStringCompareWithOptions(CFStringRef inString1, CFStringRef inString2,
                                                             CFRange inRange, CFStringCompareFlags inFlags);

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
extern "C" TOOLBOX_EXPORT const char kCFStringTypeMarker;

// CFSTR("text") is a constant string made by the compiler; the text is ASCII or UTF-8 in the source.
#define CFSTR(inLiteral)                                                                                     \
    ([]() noexcept -> CFStringRef {                                                                          \
        static constexpr const char16_t kUnits[] = u"" inLiteral;                                            \
        static const CFConstantString kString = {                                                            \
            &kCFStringTypeMarker, -1, static_cast<CFIndex>(sizeof(kUnits) / sizeof(kUnits[0])) - 1, kUnits}; \
        return reinterpret_cast<CFStringRef>(&kString);                                                      \
    }())
#endif
