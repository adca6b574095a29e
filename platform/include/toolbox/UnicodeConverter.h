// The Unicode converter, for names: Pascal strings in an encoding, and their text in UTF-16.
//
// The encodings are those of Core Foundation's strings (CFString.h, CFStringEncodings.h). Conversions are
// strict: what has no counterpart fails, nothing stands in for it, and characters that are composed stay so.
// Lengths of Unicode text are in bytes, two for a unit.
//
// Every function may be called on any thread, and a converter be used by several at a time.
#pragma once

#include <toolbox/MacErrors.h>
#include <toolbox/MacTypes.h>
#include <toolbox/TextEncoding.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

enum {
    kTextUnsupportedEncodingErr = -8738,  // an encoding that is not there
    kTextMalformedInputErr = -8739        // bytes that are no text in the encoding
};

// Converters, each for one encoding and direction.
typedef struct OpaqueTextToUnicodeInfo* TextToUnicodeInfo;
typedef struct OpaqueUnicodeToTextInfo* UnicodeToTextInfo;

// A converter, which the caller disposes of. outInfo is null on failure: kTextUnsupportedEncodingErr, and
// paramErr for a null argument.
TOOLBOX_MUST_USE OSStatus CreateTextToUnicodeInfoByEncoding(TextEncoding inEncoding,
                                                            TextToUnicodeInfo* outInfo);
TOOLBOX_MUST_USE OSStatus CreateUnicodeToTextInfoByEncoding(TextEncoding inEncoding,
                                                            UnicodeToTextInfo* outInfo);

// *ioInfo becomes null; paramErr when it, or ioInfo, is null already.
TOOLBOX_EXPORT OSStatus DisposeTextToUnicodeInfo(TextToUnicodeInfo* ioInfo);
TOOLBOX_EXPORT OSStatus DisposeUnicodeToTextInfo(UnicodeToTextInfo* ioInfo);

// The text of a Pascal string.
//   inCapacity   bytes that outText holds
//   outByteCount bytes stored; untouched on failure
// kTECOutputBufferFullStatus when the text needs more room, and nothing is stored; kTextMalformedInputErr,
// and outText is unspecified; paramErr for null.
TOOLBOX_MUST_USE OSStatus ConvertFromPStringToUnicode(TextToUnicodeInfo inInfo, ConstStr255Param inString,
                                                      ByteCount inCapacity, ByteCount* outByteCount,
                                                      UniChar outText[]);

// A Pascal string of the text. outString is untouched on failure: kTECUnmappableElementErr for a character
// that the encoding does not have, kTECOutputBufferFullStatus for more than 255 bytes, paramErr for a number
// of bytes that is odd and for null, but for the text of no bytes.
TOOLBOX_MUST_USE OSStatus ConvertFromUnicodeToPString(UnicodeToTextInfo inInfo, ByteCount inByteCount,
                                                      const UniChar inText[], Str255 outString);

TOOLBOX_EXTERN_C_END
