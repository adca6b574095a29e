// Core Foundation strings: the names of encodings and the flags of comparisons, for every header that speaks
// of strings.
#pragma once

#include <toolbox/CFBase.h>

TOOLBOX_EXTERN_C_BEGIN

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
    kCFStringEncodingUTF32 = 0x0c000100,  // in the host's byte order
    kCFStringEncodingUTF32BE = 0x18000100,
    kCFStringEncodingUTF32LE = 0x1c000100
};
#define kCFStringEncodingInvalidId (0xffffffffU)

enum {
    kCFCompareCaseInsensitive = 1,
    kCFCompareBackwards = 4,
    kCFCompareAnchored = 8,
    kCFCompareNonliteral = 16,             // canonically equivalent text is equal
    kCFCompareLocalized = 32,              // by the current locale's collation
    kCFCompareNumerically = 64,            // runs of digits by value: "Foo2" before "Foo25"
    kCFCompareDiacriticInsensitive = 128,  // marks that do not advance, as accents, are passed over
    kCFCompareWidthInsensitive = 256,      // full-width and half-width forms as the ordinary ones
    kCFCompareForcedOrdering = 512         // text that is equal and not the same is ordered by units
};

TOOLBOX_EXTERN_C_END
