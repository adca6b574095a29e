// Versions: the application's own, and version texts as the number of a "vers" resource.
#pragma once

#include <foundation/MirtalExport.h>

#ifdef __cplusplus
extern "C" {
#endif

// The short version text and the region code of resource "vers" 1, searched from the current resource file
// on. Without the resource the text is empty and the region 0.
//   outVersion  a Pascal string, in a buffer of 256 bytes
//   outRegion   may be null
MIRTAL_EXPORT void GetVersion(unsigned char* outVersion, short* outRegion);

// A version text as a 32-bit number: major << 24 | minor << 20 | bug fix << 16 | stage << 8 | non-release.
//
// What precedes the first digit is skipped: "version 4". The major version is a plain number, of which the
// low 8 bits count; minor and bug-fix version are one digit each, so "1.10" is 1.1.0. The stage is 0x80
// unless a letter follows: d 0x20, a 0x40, b 0x60, r 0x80. The digits after it are packed four bits each, and
// the low 8 bits count. A null or empty text is 0x8000.
MIRTAL_EXPORT unsigned long VersionStrToNum(const char* inText);

#ifdef __cplusplus
}
#endif
