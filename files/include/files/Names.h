// Names of items: in the catalogue, where they are Unicode, and in specifications, where they are Pascal
// strings in an encoding.
//
// Every function may be called on any thread.
#pragma once

#include <foundation/MirtalExport.h>
#include <toolbox/CFString.h>
#include <toolbox/FileSpecs.h>
#include <toolbox/Files.h>
#include <toolbox/MacTypes.h>

#ifdef __cplusplus
extern "C" {
// A default of C++.
#define MIRTAL_FILES_DEFAULT(inValue) = inValue
#else
#define MIRTAL_FILES_DEFAULT(inValue)
#endif

// The item's name in the catalogue. Untouched on failure: paramErr for null, else what the File Manager
// answers.
[[nodiscard]] MIRTAL_EXPORT OSErr FSGetFileDirName(const FSRef* inRef, HFSUniStr255* outName);

// A name in the catalogue as one of a specification, in an encoding.
//   inLength  UTF-16 units
//   outName   room for 256 bytes; untouched on failure
// What the Unicode converter answers (toolbox/UnicodeConverter.h): kTECUnmappableElementErr for a name that
// the encoding does not hold, kTextUnsupportedEncodingErr, paramErr for null.
[[nodiscard]] MIRTAL_EXPORT OSErr UnicodeNameGetHFSName(UniCharCount inLength, const UniChar* inName,
                                                        TextEncoding inEncoding, StringPtr outName);

// The other way. outName is untouched on failure; kTextMalformedInputErr for bytes that are no text in the
// encoding.
[[nodiscard]] MIRTAL_EXPORT OSErr HFSNameGetUnicodeName(ConstStr255Param inName, TextEncoding inEncoding,
                                                        HFSUniStr255* outName);

// A name that no item in either of two folders has: the eight hexadecimal digits of a number, in capitals.
//   ioSeed         the number to begin with; on success the one that the name is of
//   outUniqueName  untouched on failure
// That nobody makes an item of the name meanwhile is not known. What PBMakeFSRefUnicodeSync answers, but for
// fnfErr; ioSeed is then the number for which it did. paramErr for null.
[[nodiscard]] MIRTAL_EXPORT OSErr GenerateUniqueHFSUniStr(UInt32* ioSeed, const FSRef* inFolder1,
                                                          const FSRef* inFolder2,
                                                          HFSUniStr255* outUniqueName);

// The name of an FSSpec in other forms. That of an item that is there is its name in the catalogue, which may
// be longer than the FSSpec's; else the FSSpec's own is read in the application's encoding
// (GetApplicationTextEncoding).

// Where it is no text in that encoding, each byte becomes a unit.
//   outEncoding  of the name: the item's hint, the application's encoding, or 0 where each byte became one
//                unit; may be null
// paramErr for another null argument; nothing else fails.
[[nodiscard]] MIRTAL_EXPORT OSErr FSSpecToUniStr(const FSSpec* inSpec, HFSUniStr255* outName,
                                                 TextEncoding* outEncoding MIRTAL_FILES_DEFAULT(nullptr));

// A new string, which the caller releases; null where the name is no text in that encoding, for null, and
// when memory is short.
[[nodiscard]] MIRTAL_EXPORT CFStringRef FSSpecToCFString(const FSSpec* inSpec);

// The same in the application's encoding, as a C string in inTextSize bytes, and as a Pascal string in 256
// bytes. The text is unspecified on failure: paramErr for null, coreFoundationUnknownErr when there is no
// string, or it does not fit or cannot be said in the encoding.
[[nodiscard]] MIRTAL_EXPORT OSErr FSSpecToCStr(const FSSpec* inSpec, char* outText, ByteCount inTextSize);
[[nodiscard]] MIRTAL_EXPORT OSErr FSSpecToPStr(const FSSpec* inSpec, StringPtr outText);

#undef MIRTAL_FILES_DEFAULT

#ifdef __cplusplus
}
#endif
