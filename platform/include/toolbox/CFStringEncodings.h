// The text encodings that Core Foundation strings are converted from and to, beside those of CFString.h, and
// questions about encodings. Numbers below 0x100 are the Mac encodings, as TextEncoding has them too.
#pragma once

#include <toolbox/CFStringBase.h>

TOOLBOX_EXTERN_C_BEGIN

enum {
    kCFStringEncodingMacGreek = 6,
    kCFStringEncodingMacCyrillic = 7,
    kCFStringEncodingMacCentralEurRoman = 29,
    kCFStringEncodingMacTurkish = 35,
    kCFStringEncodingMacCroatian = 36,
    kCFStringEncodingMacIcelandic = 37,
    kCFStringEncodingMacRomanian = 38,
    kCFStringEncodingMacUkrainian = 0x98,  // the same as Cyrillic

    kCFStringEncodingISOLatin2 = 0x0202,
    kCFStringEncodingISOLatin3 = 0x0203,
    kCFStringEncodingISOLatin4 = 0x0204,
    kCFStringEncodingISOLatinCyrillic = 0x0205,
    kCFStringEncodingISOLatinArabic = 0x0206,
    kCFStringEncodingISOLatinGreek = 0x0207,
    kCFStringEncodingISOLatinHebrew = 0x0208,
    kCFStringEncodingISOLatin5 = 0x0209,
    kCFStringEncodingISOLatin6 = 0x020A,
    kCFStringEncodingISOLatinThai = 0x020B,
    kCFStringEncodingISOLatin7 = 0x020D,
    kCFStringEncodingISOLatin8 = 0x020E,
    kCFStringEncodingISOLatin9 = 0x020F,

    // The code pages of Windows too, which has no others for these languages.
    kCFStringEncodingDOSThai = 0x041D,            // 874
    kCFStringEncodingDOSJapanese = 0x0420,        // 932
    kCFStringEncodingDOSChineseSimplif = 0x0421,  // 936
    kCFStringEncodingDOSKorean = 0x0422,          // 949
    kCFStringEncodingDOSChineseTrad = 0x0423,     // 950

    kCFStringEncodingWindowsLatin2 = 0x0501,
    kCFStringEncodingWindowsCyrillic = 0x0502,
    kCFStringEncodingWindowsGreek = 0x0503,
    kCFStringEncodingWindowsLatin5 = 0x0504,
    kCFStringEncodingWindowsHebrew = 0x0505,
    kCFStringEncodingWindowsArabic = 0x0506,
    kCFStringEncodingWindowsBalticRim = 0x0507,
    kCFStringEncodingWindowsVietnamese = 0x0508
};

// Whether strings can be converted from and to the encoding.
TOOLBOX_EXPORT Boolean CFStringIsEncodingAvailable(CFStringEncoding inEncoding);

// The available encodings, each once, behind them kCFStringEncodingInvalidId. Borrowed; they do not change.
TOOLBOX_EXPORT const CFStringEncoding* CFStringGetListOfAvailableEncodings(void);

// Bytes that hold any text of inLength UTF-16 units in the encoding, without a byte order mark or a
// terminator; kCFNotFound for an encoding that is not available, a negative length, or a size that cannot be
// told.
TOOLBOX_EXPORT CFIndex CFStringGetMaximumSizeForEncoding(CFIndex inLength, CFStringEncoding inEncoding);

TOOLBOX_EXTERN_C_END
