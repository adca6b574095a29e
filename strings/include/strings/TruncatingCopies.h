// Copies of byte strings, cut at a number of bytes, that know nothing of double-byte characters.
//
// Their link names are those of overloaded functions ::PStrNCopy and ::CStrNCopy with C++ linkage. Functions
// of the same names and arguments with C linkage, which take care not to split a character, may be declared
// beside them; two linkages for one signature cannot share a namespace, so these are declared in their own,
// under their link names.
#pragma once

#include <foundation/MirtalExport.h>

namespace truncating {

// Pascal string of min(inSource[0], inMaxLength) bytes; outDestination may be inSource.
//   inMaxLength  outDestination holds one byte more; below 0 nothing but its low byte is written, as
//                the length
MIRTAL_EXPORT void PStrNCopy(const unsigned char* inSource, unsigned char* outDestination,
                             short inMaxLength) __asm__("_Z9PStrNCopyPKhPhs");

// C string of min(strlen(inSource), inMaxLength) bytes and a terminator; outDestination may be inSource.
//   inMaxLength  outDestination holds one byte more; zero or less: nothing is written at all
MIRTAL_EXPORT void CStrNCopy(const char* inSource, char* outDestination,
                             short inMaxLength) __asm__("_Z9CStrNCopyPKcPcs");

}  // namespace truncating
